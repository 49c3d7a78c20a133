"""python3 -m videoparams.survey.fetch URL FILE: copies what fsspec finds at a URL. The size is limited by the process."""

from __future__ import annotations

import errno
import shutil
import signal
import sys

PIECE = 1 << 20


def main() -> int:
    import fsspec

    url, target = sys.argv[1:]
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)  # then writing beyond the limit is an error
    try:
        with fsspec.open(url, "rb") as source, open(target, "wb") as copy:
            shutil.copyfileobj(source, copy, PIECE)
    except FileNotFoundError:
        print("no such file", file=sys.stderr)
        return 3
    except OSError as error:
        if error.errno == errno.EFBIG:
            print("the file is larger than --download-limit", file=sys.stderr)
            return 4
        print(error, file=sys.stderr)
        return 2
    except Exception as error:  # each file system has its own kinds
        print(f"{type(error).__name__}: {error}", file=sys.stderr)
        return 2
    return 0


if __name__ == "__main__":
    sys.exit(main())
