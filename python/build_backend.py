"""Makes the wheel of the module for pip: one file and its description.

It needs only Python, so `pip install` downloads nothing. The functions are the hooks of PEP 517 and 660.
"""

import base64
import hashlib
import io
import pathlib
import re
import tarfile
import zipfile

FOLDER = pathlib.Path(__file__).resolve().parent
SOURCES = ["videoparams.py", "build_backend.py", "pyproject.toml"]
MODULE = (FOLDER / "videoparams.py").read_text(encoding="utf-8")
VERSION = re.search('^__version__ = "(.+)"$', MODULE, re.MULTILINE)[1]
NAME = f"videoparams-{VERSION}"
DESCRIPTION = f"""Metadata-Version: 2.1
Name: videoparams
Version: {VERSION}
Summary: Analyses and edits H.264/AVC and H.265/HEVC Annex B elementary streams
License: MIT
Requires-Python: >=3.9
"""
WHEEL = """Wheel-Version: 1.0
Generator: videoparams
Root-Is-Purelib: true
Tag: py3-none-any
"""


def _write_wheel(folder, contents):
    files = {**contents, f"{NAME}.dist-info/METADATA": DESCRIPTION, f"{NAME}.dist-info/WHEEL": WHEEL}
    record = ""
    for name, text in files.items():
        digest = base64.urlsafe_b64encode(hashlib.sha256(text.encode()).digest()).rstrip(b"=").decode()
        record += f"{name},sha256={digest},{len(text.encode())}\n"
    files[f"{NAME}.dist-info/RECORD"] = f"{record}{NAME}.dist-info/RECORD,,\n"

    wheel = f"{NAME}-py3-none-any.whl"
    with zipfile.ZipFile(pathlib.Path(folder, wheel), "w", zipfile.ZIP_DEFLATED) as archive:
        for name, text in files.items():
            archive.writestr(zipfile.ZipInfo(name), text)  # without a time, so that every build gives the same wheel
    return wheel


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    return _write_wheel(wheel_directory, {"videoparams.py": MODULE})


def build_editable(wheel_directory, config_settings=None, metadata_directory=None):
    return _write_wheel(wheel_directory, {"videoparams.pth": f"{FOLDER}\n"})


def build_sdist(sdist_directory, config_settings=None):
    sdist = f"{NAME}.tar.gz"
    with tarfile.open(pathlib.Path(sdist_directory, sdist), "w:gz") as archive:
        for name in SOURCES:
            archive.add(FOLDER / name, f"{NAME}/{name}")
        description = tarfile.TarInfo(f"{NAME}/PKG-INFO")
        description.size = len(DESCRIPTION)
        archive.addfile(description, io.BytesIO(DESCRIPTION.encode()))
    return sdist
