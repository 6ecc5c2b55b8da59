"""Vantra for Python: the functions of Vantra.dll by way of ctypes, and a session that closes itself.

vantra.h says what each function takes, does and returns. Nothing is thrown where the library is missing: every
call fails then. The interpreter must be a 64-bit one for Windows.
"""
import ctypes
from ctypes import POINTER, byref, c_bool, c_char_p, c_int32, c_size_t, c_uint32, c_void_p
from pathlib import Path

NO_CHOICE, OUT, IN = -1, 0, 1  # the user's choice; as an argument NO_CHOICE forgets it

_LABELS = (c_char_p, c_char_p, c_char_p)
_DOCUMENT = (c_char_p, c_uint32)
_FUNCTIONS = {
    "UTInitialize": (c_char_p, c_bool, c_char_p),
    "UTStartSession": (POINTER(c_void_p), c_char_p, c_char_p, c_char_p, c_char_p, c_char_p),
    "UTAddToSession": (c_void_p, c_char_p, c_char_p),
    "UTLogEvent": (c_void_p, *_LABELS, *_DOCUMENT),
    "UTNewDataGroup": (c_void_p, *_LABELS, POINTER(c_uint32), *_DOCUMENT),
    "UTAddToGroup": (c_void_p, c_uint32, c_char_p, c_char_p),
    "UTCloseSession": (POINTER(c_void_p),),
    "UTGetOptIn": (),
    "UTSetOptIn": (c_int32,),
    "UTOptInGet": (c_char_p,),
    "UTOptInSet": (c_char_p, c_int32),
    "UTGetDemographic": (c_char_p, c_char_p, POINTER(c_size_t)),
    "UTSetDemographic": (c_char_p, c_char_p),
    "UTGetNonDefaultDemographic": (c_char_p, c_char_p, c_char_p, POINTER(c_size_t)),
    "UTSetNonDefaultDemographic": (c_char_p, c_char_p, c_char_p),
    "UTSetSerializationState": (c_int32,),
}


def _text(value):
    return None if value is None else str(value).encode("utf-8", "replace")


def _document(value):
    text = _text(value) or None
    return text, len(text or b"")


class Library:
    """The library at this full path, beside this file when there is none; is_present says whether it was found."""

    def __init__(self, path=None):
        self.is_present = False
        try:
            library = ctypes.CDLL(str(path or Path(__file__).resolve().parent / "Vantra.dll"))
            for name, arguments in _FUNCTIONS.items():
                function = getattr(library, name)
                function.argtypes, function.restype = arguments, c_int32
                setattr(self, name, function)
            self.is_present = True
        except (OSError, AttributeError):
            pass

    def initialize(self, usage_key, agent_folder=None, crash_handling=False):
        """UTInitialize. For a script the executable is the interpreter: name the agent's folder."""
        return self.is_present and self.UTInitialize(_text(usage_key), crash_handling, _text(agent_folder)) == 0

    def opt_in(self):
        """UTGetOptIn."""
        return self.UTGetOptIn() if self.is_present else NO_CHOICE

    def set_opt_in(self, choice):
        """UTSetOptIn. False when the choice was not stored."""
        return self.is_present and self.UTSetOptIn(choice) == 0

    def start_session(self, family, name, version, build=None, language=None):
        """UTStartSession, for `with`; a session that is false when it was refused: then every call fails."""
        handle = c_void_p()
        if self.is_present:
            self.UTStartSession(byref(handle), *map(_text, (family, name, version, build, language)))
        return Session(self, handle)


class Session:
    def __init__(self, library, handle):
        self._library, self._handle = library, handle

    def __bool__(self):
        return bool(self._handle)

    def add(self, key, value):
        """UTAddToSession: a value of the session itself."""
        return bool(self) and self._library.UTAddToSession(self._handle, _text(key), _text(value)) == 0

    def log_event(self, category, sub_category, name, document=None):
        """UTLogEvent. Of the document only a digest is recorded."""
        labels = map(_text, (category, sub_category, name))
        return bool(self) and self._library.UTLogEvent(self._handle, *labels, *_document(document)) == 0

    def new_data_group(self, category, sub_category, name, document=None):
        """UTNewDataGroup: a function that takes key and value (UTAddToGroup)."""
        group = c_uint32()
        labels = map(_text, (category, sub_category, name))
        is_new = bool(self) and (
            self._library.UTNewDataGroup(self._handle, *labels, byref(group), *_document(document)) == 0)
        return lambda key, value: is_new and bool(self) and (
            self._library.UTAddToGroup(self._handle, group, _text(key), _text(value)) == 0)

    def close(self):
        """UTCloseSession. True when there was a session to close."""
        return bool(self) and self._library.UTCloseSession(byref(self._handle)) == 0

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
