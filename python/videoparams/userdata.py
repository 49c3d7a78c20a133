"""UserData: bytes of your own in user-data SEI messages."""

from __future__ import annotations

import ctypes
from typing import Optional

from videoparams import _reasons
from videoparams._buffer import Borrowed
from videoparams._handle import Handle
from videoparams._types import BytesLike, Sample
from videoparams.errors import NoPlaceError
from videoparams.model import Codec


class UserData(Handle):
    """Inserts, finds and removes user-data SEI messages (ITU-T H.264, D.1.7; ITU-T H.265, D.2.7).

    Every method may be called from any thread; a call waits for the one under way. All results are copies.
    """

    _create = "UserDataCreate"
    _release = "UserDataRelease"

    def __init__(self, codec: Codec) -> None:
        super().__init__(codec)

    def add(self, access_unit: Sample, user_data: BytesLike) -> bytes:
        """A copy of the access unit with the bytes in it.

        Raises NoPlaceError if there is neither an SEI unit nor a slice, StreamError for an SEI unit without an end.
        """
        with Borrowed(user_data) as stamp:
            result, copy = self._edit("AddUserData", access_unit, stamp.pointer, stamp.size)
        if result == 0:
            return copy or b""
        if copy is not None:
            raise NoPlaceError("no place for user data: the access unit has neither an SEI unit nor a slice")
        raise _reasons.failure_to_add(access_unit, user_data, self._codec)

    def get(self, access_unit: Sample) -> Optional[bytes]:
        """The bytes that add put into an access unit. None: there are none. Of several messages, the last.

        Raises StreamError for 5 bytes or more without a start code.
        """
        result, copy = self._edit("GetUserData", access_unit)
        if result != 0:
            raise _reasons.failure(access_unit, self._codec)
        return copy

    def remove(self, stream: Sample) -> bytes:
        """A copy of the stream without user-data messages, whoever wrote them.

        Raises StreamError for 5 bytes or more without a start code.
        """
        result, copy = self._edit("RemoveUserData", stream)
        if result != 0:
            raise _reasons.failure(stream, self._codec)
        return copy or b""

    def _edit(self, call: str, stream: Sample, *arguments: object) -> tuple[int, Optional[bytes]]:
        output, size = ctypes.c_void_p(), ctypes.c_uint()
        with Borrowed(self._checked(stream)) as data, self._lock:
            result: int = getattr(self._library, call)(
                self._opened(), data.pointer, data.size, *arguments, ctypes.byref(output), ctypes.byref(size)
            )
            return result, ctypes.string_at(output, size.value) if output else None
