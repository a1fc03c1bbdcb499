"""tovrintimer.h, as ctypes sees it."""

import ctypes.util
import math
import os
from ctypes import POINTER, byref, c_char_p, c_double, c_int32, c_size_t, c_ssize_t, c_uint64, c_void_p

CALLBACKS = (None, "start_fcn", "timer_fcn", "stop_fcn", "error_fcn")
END_REASONS = (None, "TasksDone", "Stopped", "Destroyed", "Failed", "Overrun", "Shutdown")
_MODES = ("SingleShot", "FixedSpacing", "FixedDelay", "FixedRate")
_BUSY_MODES = ("Drop", "Queue", "Error")


def _tasks(value):
    if value < 1 or value != math.inf and value != int(value):
        raise ValueError
    return 0 if value == math.inf else int(value)


# Of each setting: its default, what is allowed, and what the library takes for a value.
SETTINGS = {
    "name": (None, "a str, or None for one of the engine's", lambda value: value and str.encode(value)),
    "execution_mode": ("SingleShot", ", ".join(_MODES), _MODES.index),
    "busy_mode": ("Drop", ", ".join(_BUSY_MODES), _BUSY_MODES.index),
    "period": (1.0, "a number from 0.001", float),
    "start_delay": (0.0, "a number from 0", float),
    "tasks_to_execute": (math.inf, "a whole number from 1, or math.inf", _tasks),
    **{name: (None, "a function, or None", None) for name in CALLBACKS[1:]}}


def _struct(**fields):
    return type("Struct", (ctypes.Structure,), {"_fields_": list(fields.items())})


RawEvent = _struct(size=c_size_t, host=c_uint64, timer=c_uint64, kind=c_int32, end_reason=c_int32, run=c_uint64,
                   missed=c_uint64, time=c_double, steady_time=c_double, lateness=c_double, name=c_char_p, error=c_char_p)
FUNCTION = ctypes.CFUNCTYPE(c_int32, POINTER(RawEvent), c_void_p)
Callback = _struct(function=FUNCTION, data=c_void_p)
Settings = _struct(size=c_size_t, name=c_char_p, execution_mode=c_int32, busy_mode=c_int32, period=c_double,
                   start_delay=c_double, tasks_to_execute=c_uint64, start_fcn=Callback, timer_fcn=Callback,
                   stop_fcn=Callback, error_fcn=Callback)
Statistics = _struct(size=c_size_t, is_running=c_int32, end_reason=c_int32, tasks_executed=c_uint64, runs=c_uint64,
                     drops=c_uint64, errors=c_uint64, instant_period=c_double, average_period=c_double, remaining=c_double)
FIGURES = [name for name, _ in Statistics._fields_[1:]]


class Error(Exception):
    """What the engine has refused; `code` is one of TOVRIN_ERROR_.... Nothing has changed."""

    def __init__(self, code, text):
        super().__init__(text)
        self.code = code


_path = os.environ.get("TOVRINTIMER_LIBRARY") or ctypes.util.find_library("tovrintimer_c")
if not _path:
    raise ImportError("the library tovrintimer_c is not installed; TOVRINTIMER_LIBRARY can name its file")
_library = ctypes.CDLL(_path)
_library.tovrin_version.restype = _library.tovrin_last_error.restype = c_char_p
set_error = _library.tovrin_set_error
set_error.argtypes, set_error.restype = [c_char_p], None
version = _library.tovrin_version().decode()


def _function(name, *types):
    def check(code, _function, _arguments):
        if code != 0:
            raise Error(code, _library.tovrin_last_error().decode(errors="replace"))
    function = getattr(_library, "tovrin_" + name)
    function.argtypes, function.restype, function.errcheck = types, c_int32, check
    return function


host_create = _function("host_create", c_void_p, POINTER(c_uint64))
host_destroy = _function("host_destroy", c_uint64)
run_until = _function("run_until", c_uint64, c_double, c_void_p, c_void_p, POINTER(c_int32))
ready_descriptor = _function("ready_descriptor", c_uint64, POINTER(c_ssize_t))
timer_create = _function("timer_create", c_uint64, POINTER(Settings), POINTER(c_uint64))
timer_start, timer_stop, timer_destroy = (
    _function(name, c_uint64) for name in ("timer_start", "timer_stop", "timer_destroy"))
timer_set = _function("timer_set", c_uint64, POINTER(Settings))
timer_wait = _function("timer_wait", c_uint64, c_double, POINTER(c_int32))
timer_statistics = _function("timer_statistics", c_uint64, POINTER(Statistics))


def result(function, kind, *arguments):
    """What a function of the library leaves at the address that is its last argument."""
    value = kind()
    function(*arguments, byref(value))
    return value.value
