"""Timers of the engine tovrintimer: callbacks at their time, on the thread that runs them. Times are seconds.

    with Timer(lambda timer, event: print(event.run), execution_mode="FixedRate", period=0.5, tasks_to_execute=3) as t:
        t.start().wait()

Callbacks are called with their timer and an Event. They run on the thread that has made the first timer: inside `wait`,
`run`, `Timer.close` and `close`, or by that thread's asyncio loop while a coroutine awaits a timer. One that raises has
failed: `error_fcn` follows, then `stop_fcn`; `timer.exception` holds what was raised, and `logging` tells of it. What
is no Exception, such as KeyboardInterrupt, leaves where callbacks run. Timers are for that thread alone.
"""

import asyncio
import atexit
import ctypes
import logging
import math
import os
import select
import time
from collections import namedtuple

from . import _library as library
from ._library import Error, version

__all__ = ["Error", "Event", "Timer", "close", "run", "version"]
_host = None  # its handle, once there is one
_timers = {}  # all that are not closed, by handle
_leaving = []  # exceptions such as KeyboardInterrupt, on their way out of a callback
_awaited = {}  # the futures of coroutines that await a timer, with the timer


# What a callback is told: its kind ("start_fcn", "timer_fcn", "stop_fcn", "error_fcn"); how many timer_fcns of this run
# have begun; how many firings were dropped just before this one; when it begins, as time.time() counts, and as asyncio
# does; the seconds since it was due; of a stop_fcn and an error_fcn why the run ends; of an error_fcn what has failed.
Event = namedtuple("Event", "kind run missed time steady_time lateness end_reason error")


@library.FUNCTION
def _callback(raw, _data):
    raw = raw.contents
    timer, kind = _timers[raw.timer], library.CALLBACKS[raw.kind]
    try:
        text = None if raw.error is None else raw.error.decode(errors="replace")
        timer._settings[kind](timer, Event(kind, raw.run, raw.missed, raw.time, raw.steady_time, raw.lateness,
                                           library.END_REASONS[raw.end_reason], text))
        return 0
    except BaseException as error:  # the library cannot be left by it
        timer.exception = error
        if isinstance(error, Exception):
            logging.getLogger("tovrintimer").error("%s of %s has failed", kind, raw.name.decode(), exc_info=True)
        else:
            _leaving.append(error)
        library.set_error(f"{type(error).__name__}: {error}".encode(errors="replace"))
        return 1


def _to_callback(function):
    if function is not None and not callable(function):
        raise TypeError
    return library.Callback(_callback if function else library.FUNCTION())


def _changed(settings, changes):
    settings, raw = {**settings, **changes}, library.Settings(ctypes.sizeof(library.Settings))
    for name, value in settings.items():
        if name not in library.SETTINGS:
            raise ValueError(f"there is no setting {name!r}; allowed: {', '.join(library.SETTINGS)}")
        _, allowed, to_c = library.SETTINGS[name]
        try:
            setattr(raw, name, (to_c or _to_callback)(value))
        except (TypeError, ValueError):
            raise ValueError(f"{name} is {value!r}; allowed: {allowed}") from None
    return settings, raw


class Timer:
    """Its settings can be read, and assigned: name, execution_mode ("SingleShot", "FixedSpacing", "FixedDelay", or
    "FixedRate"), busy_mode ("Drop", "Queue", "Error"), period, start_delay, tasks_to_execute, functions. What is not
    allowed, or not now, raises ValueError or Error, and changes nothing. To be read alone: is_running, end_reason,
    tasks_executed, runs, drops, errors, instant_period, average_period, remaining. close, or its `with`, ends it."""

    __slots__ = ("exception", "_handle", "_settings")

    def __init__(self, timer_fcn, **settings):
        global _host
        defaults = {name: default for name, (default, _, _) in library.SETTINGS.items()}
        self._settings, raw = _changed(defaults, {"timer_fcn": timer_fcn, **settings})
        self.exception = None  # what a callback of the latest run has raised
        if _host is None:
            _host = library.result(library.host_create, ctypes.c_uint64, None)
        self._handle = library.result(library.timer_create, ctypes.c_uint64, _host, raw)
        _timers[self._handle] = self

    def __getattr__(self, name):
        if name in library.SETTINGS:
            return self._settings[name]
        if name not in library.FIGURES:
            raise AttributeError(f"a Timer has no {name!r}")
        figures = library.Statistics(ctypes.sizeof(library.Statistics))
        library.timer_statistics(self._handle, figures)
        value = getattr(figures, name)
        return library.END_REASONS[value] if name == "end_reason" else value

    def __setattr__(self, name, value):
        if name in library.SETTINGS:
            settings, raw = _changed(self._settings, {name: value})
            library.timer_set(self._handle, raw)
            name, value = "_settings", settings
        object.__setattr__(self, name, value)

    def start(self):
        library.timer_start(self._handle)
        self.exception = None
        return self

    def stop(self):
        library.timer_stop(self._handle)

    def wait(self, seconds=math.inf):
        """Runs what comes, of all timers, until this one has ended. Returns whether it has, in so many seconds."""
        return _run_until(self._has_ended, seconds)

    def _has_ended(self):
        return library.result(library.timer_wait, ctypes.c_int32, self._handle, 0.0) == 1

    def __await__(self):
        """Until it has ended; the running asyncio loop runs the callbacks of all timers meanwhile."""
        return _until_ended(self).__await__()

    def close(self):
        """Stops it, with its last callbacks run before this returns. It is of no use any more then."""
        if self._handle in _timers:
            library.timer_destroy(self._handle)
            _timers.pop(self._handle, None)
            _settle()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


def run(seconds=math.inf):
    """Runs what comes, until no timer runs any more. Returns whether it came to that within so many seconds."""
    return _host is None or _run_until(_run_what_waits, seconds)


@atexit.register
def close():
    """Stops all timers, with their last callbacks run before this returns. Later ones begin anew."""
    global _host
    if _host is not None:
        library.host_destroy(_host)
        _host = None
        _timers.clear()
        _settle()


def _run_what_waits(seconds=0.0):
    return library.result(library.run_until, ctypes.c_int32, _host, seconds, None, None) == 1


def _let_leave():
    if _leaving:
        raise _leaving.pop()


# Waiting is done here, not in the library, so that Ctrl-C is heard meanwhile.
def _run_until(is_done, seconds):
    end = time.monotonic() + seconds
    while True:
        done = is_done()
        _let_leave()
        left = end - time.monotonic()
        if done or left <= 0:
            return done
        if os.name == "posix":
            select.select([_descriptor()], [], [], min(left, 1e6))
        else:
            _run_what_waits(min(left, 0.05))


def _descriptor():
    return library.result(library.ready_descriptor, ctypes.c_ssize_t, _host)


async def _until_ended(timer):
    loop, descriptor = asyncio.get_running_loop(), _descriptor()
    future = loop.create_future()
    if not _awaited:
        loop.add_reader(descriptor, _settle)
    _awaited[future] = timer
    try:
        _settle()
        await future
    finally:
        del _awaited[future]
        if not _awaited:
            loop.remove_reader(descriptor)


def _settle():
    if _awaited and _host is not None:
        _run_what_waits()
    for future, timer in list(_awaited.items()):
        if not future.done() and (timer._handle not in _timers or timer._has_ended()):
            future.set_result(None)
    _let_leave()
