"""The package as its users get it: a wheel in a virtual environment, its types, and its pages."""

import doctest
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from unittest import mock

import support
import videoparams as vp

PROGRAM = pathlib.Path(__file__).with_name("typed_program.py")
STREAM = support.STREAMS / "avc-bframes.h264"


def run(*command, **options):
    outcome = subprocess.run([*map(str, command)], capture_output=True, text=True, check=False, **options)
    if outcome.returncode != 0:
        raise AssertionError(f"{command}\n{outcome.stdout}\n{outcome.stderr}")
    return outcome.stdout


class WheelTest(unittest.TestCase):
    """A wheel is built without network and installed into a virtual environment. A program uses it there."""

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.source = shutil.copytree(support.PACKAGE, cls.folder / "source")  # the build writes there

    def install(self, name, **variables):
        """The interpreter of a virtual environment with the wheel."""
        environment = {**os.environ, "PIP_NO_INDEX": "1", "PYTHONPATH": "", **variables}
        wheels = self.folder / name
        run(sys.executable, "-m", "pip", "wheel", self.source, "--no-build-isolation", "--no-deps", "-w", wheels,
            env=environment)
        shutil.rmtree(self.source / "build")
        run(sys.executable, "-m", "venv", wheels / "env")
        python = wheels / "env/bin/python"
        wheel, = wheels.glob("*.whl")
        run(python, "-m", "pip", "install", "--no-deps", wheel, env=environment)
        return python, wheel.name

    def use(self, python, **variables):
        environment = {key: value for key, value in os.environ.items() if not key.startswith(("PYTHON", "VIDEO"))}
        return run(python, PROGRAM, STREAM, cwd=self.folder, env={**environment, **variables})

    def test_wheel_uses_the_installed_library_and_is_typed(self):
        python, name = self.install("plain")
        self.assertEqual(name, f"videoparams-{vp.__version__}-py3-none-any.whl")
        library = pathlib.Path(os.environ["VIDEOPARAMS_LIBRARY"])
        self.assertIn("env/lib", self.use(python, LD_LIBRARY_PATH=str(library.parent)))
        run(sys.executable, "-m", "mypy", "--strict", f"--python-executable={python}", "--cache-dir=/dev/null", PROGRAM,
            cwd=self.folder, env={**os.environ, "PYTHONPATH": ""})
        with self.assertRaisesRegex(AssertionError, "LibraryNotFoundError: .* set VIDEOPARAMS_LIBRARY"):
            self.use(python)

    def test_wheel_with_the_library_needs_nothing_else(self):
        python, name = self.install("bundle", VIDEOPARAMS_BUNDLE="1")
        self.assertRegex(name, rf"^videoparams-{vp.__version__}-py3-none-linux_\w+\.whl$")
        self.assertIn("env/lib", self.use(python))


class DescriptionTest(unittest.TestCase):
    def test_version_is_the_librarys(self):
        header = (support.PROJECT / "include" / "VideoParams.h").read_text()
        self.assertEqual(".".join(re.findall(r"define VIDEOPARAMS_VERSION_\w+ (\d+)", header)), vp.__version__)

    def test_types_are_complete_inside(self):
        run(sys.executable, "-m", "mypy", "--cache-dir=/dev/null", cwd=support.PACKAGE, env={**os.environ, "PYTHONPATH": ""})

    def test_pages_show_what_happens(self):
        with tempfile.TemporaryDirectory() as folder:
            shutil.copy(STREAM, pathlib.Path(folder, "film.h264"))
            pathlib.Path(folder, "film.mp4").write_bytes(support.container(STREAM, "mp4"))
            before = os.getcwd()
            os.chdir(folder)
            try:
                page = support.PROJECT / "docs" / "python.md"
                text = re.sub(r"^```$", "", page.read_text(), flags=re.MULTILINE)  # else it belongs to the output
                found = doctest.DocTestParser().get_doctest(text, {}, page.name, str(page), 0)
                self.assertGreater(len(found.examples), 10)
                runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
                with mock.patch("sys.stderr"):
                    self.assertEqual(runner.run(found).failed, 0)
                readme = (support.PROJECT / "README.md").read_text()
                program = re.search(r"## In Python.*?```python\n(.*?)```", readme, re.DOTALL)[1]
                run(sys.executable, "-c", program)
            finally:
                os.chdir(before)


if __name__ == "__main__":
    unittest.main()
