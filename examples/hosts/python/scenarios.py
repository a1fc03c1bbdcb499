"""A host in Python: runs a table of timers, and tells of each callback. ../scenarios.txt has what it prints."""

import logging
import math
import time
from typing import Callable, NamedTuple, Optional

from tovrintimer import Timer, run

REASONS = {"TasksDone": "tasks done", "Stopped": "stopped", "Destroyed": "deleted", "Failed": "error", "Overrun": "overrun"}


class Scenario(NamedTuple):
    name: str
    settings: dict
    busy: float = 0  # seconds that each timer_fcn takes
    body: Optional[Callable] = None  # what its timer_fcn does besides
    act: Callable = Timer.wait  # what is done once it has been started


def tell_start(_timer, _event):
    print("  StartFcn")


def tell_stop(_timer, event):
    print(f"  StopFcn: {REASONS[event.end_reason]}")


def tell_error(timer, event):
    print(f"  ErrorFcn: {timer.exception or event.error}")


def stop_at_third(timer, event):
    if event.run == 3:
        timer.stop()


def fail_at_second(_timer, event):
    if event.run == 2:
        raise OSError("no such file")


def fail_to_start(timer, event):
    tell_start(timer, event)
    raise OSError("not ready")


def close_itself(timer, _event):
    timer.close()


def stop_before_firing(timer):
    run(0.02)
    timer.stop()
    timer.wait()


def wait_with_limit(timer):
    for limit in (0.02, math.inf):
        print(f"  ended: {str(timer.wait(limit)).lower()}")


def run_twice(timer):
    timer.wait()
    timer.start().wait()


SCENARIOS = (
    Scenario("single shot", {"start_delay": 0.02}),
    Scenario("fixed rate, drop", {"execution_mode": "FixedRate", "tasks_to_execute": 4}, 0.12),
    Scenario("fixed rate, queue", {"execution_mode": "FixedRate", "busy_mode": "Queue", "tasks_to_execute": 4}, 0.12),
    Scenario("fixed rate, error", {"execution_mode": "FixedRate", "busy_mode": "Error", "tasks_to_execute": 4}, 0.12),
    Scenario("fixed delay", {"execution_mode": "FixedDelay", "tasks_to_execute": 3}, 0.02),
    Scenario("fixed spacing", {"execution_mode": "FixedSpacing", "tasks_to_execute": 3}, 0.02),
    Scenario("stop from within", {"execution_mode": "FixedDelay"}, body=stop_at_third),
    Scenario("failing callback", {"execution_mode": "FixedRate"}, body=fail_at_second),
    Scenario("failing StartFcn", {"start_fcn": fail_to_start}),
    Scenario("stop before firing", {"start_delay": 3600}, act=stop_before_firing),
    Scenario("wait with a limit", {"start_delay": 0.2}, act=wait_with_limit),
    Scenario("two runs", {}, act=run_twice),
    Scenario("deleted while it runs", {"start_delay": 3600}, act=Timer.close),
    Scenario("deleted from within", {"execution_mode": "FixedRate"}, body=close_itself),
)


def play(scenario):
    def tell_timer(timer, event):
        print(f"  TimerFcn {event.run}")
        end = time.monotonic() + scenario.busy
        while time.monotonic() < end:
            pass
        if scenario.body:
            scenario.body(timer, event)

    print(scenario.name)
    settings = {"name": "beat", "period": 0.05, "start_fcn": tell_start, "stop_fcn": tell_stop, "error_fcn": tell_error}
    with Timer(tell_timer, **{**settings, **scenario.settings}) as timer:
        timer.start()
        scenario.act(timer)


logging.disable(logging.ERROR)  # the ErrorFcns tell
for each in SCENARIOS:
    play(each)
