"""The package for Python: what it refuses, what becomes of exceptions, asyncio, and its size."""

import asyncio
import os
import pathlib
import signal
import sys
import threading
import time
import unittest

import tovrintimer
from tovrintimer import Error, Timer, run


def nothing(_timer, _event):
    pass


class PackageTest(unittest.TestCase):
    def tearDown(self):
        tovrintimer.close()

    def test_settings_are_keywords_and_can_be_read_and_assigned(self):
        t = Timer(nothing, name="poll", execution_mode="FixedRate", busy_mode="Queue", period=0.25, start_delay=0.5)
        self.assertEqual((t.name, t.execution_mode, t.busy_mode, t.period, t.start_delay, t.tasks_to_execute),
                         ("poll", "FixedRate", "Queue", 0.25, 0.5, float("inf")))
        self.assertIs(t.timer_fcn, nothing)
        t.period = 2
        t.stop_fcn = nothing
        self.assertEqual((t.period, t.stop_fcn, t.is_running, t.end_reason), (2, nothing, 0, None))

    def test_what_is_not_allowed_is_named_with_its_value(self):
        modes = "SingleShot, FixedSpacing, FixedDelay, FixedRate"
        for settings, text in (
                ({"period": "x"}, "period is 'x'; allowed: a number from 0.001"),
                ({"execution_mode": "Fast"}, f"execution_mode is 'Fast'; allowed: {modes}"),
                ({"tasks_to_execute": 2.5}, "tasks_to_execute is 2.5; allowed: a whole number from 1, or math.inf"),
                ({"tasks_to_execute": 0}, "tasks_to_execute is 0; allowed: a whole number from 1, or math.inf"),
                ({"stop_fcn": 3}, "stop_fcn is 3; allowed: a function, or None"),
                ({"name": 3}, "name is 3; allowed: a str, or None for one of the engine's")):
            with self.assertRaises(ValueError) as caught:
                Timer(nothing, **settings)
            self.assertEqual(str(caught.exception), text)
        with self.assertRaisesRegex(ValueError, "there is no setting 'perid'; allowed: name, execution_mode, "):
            Timer(nothing, perid=1)
        with self.assertRaisesRegex(Error, "settings.period is 0; allowed: from 0.001 to 9e"):
            Timer(nothing, period=0)
        t = Timer(nothing)
        with self.assertRaises(ValueError):
            t.period = None
        self.assertEqual(t.period, 1)
        with self.assertRaises(AttributeError):
            t.runs = 3
        with self.assertRaisesRegex(AttributeError, "a Timer has no 'speed'"):
            t.speed

    def test_a_second_start_is_an_error_and_the_timer_runs_on(self):
        t = Timer(nothing, start_delay=3600).start()
        with self.assertRaises(Error):
            t.start()
        self.assertTrue(t.is_running)

    def test_leaving_the_context_stops_the_timer_and_it_is_of_no_use_any_more(self):
        reasons = []
        with Timer(nothing, start_delay=3600, stop_fcn=lambda _, event: reasons.append(event.end_reason)) as t:
            t.start()
        self.assertEqual(reasons, ["Destroyed"])
        with self.assertRaises(Error):
            t.start()
        t.close()

    def test_callbacks_are_never_early_and_are_told_so(self):
        events = []
        began = time.monotonic()
        t = Timer(lambda _, event: events.append(event), start_delay=0.05, execution_mode="FixedDelay", period=0.02,
                  tasks_to_execute=4)
        self.assertTrue(t.start().wait())
        self.assertEqual([event.run for event in events], [1, 2, 3, 4])
        for place, event in enumerate(events):
            self.assertGreaterEqual(event.steady_time, began + 0.05 + 0.02 * place)
            self.assertGreaterEqual(event.lateness, 0)
        self.assertGreaterEqual(t.average_period, 0.02)

    def test_a_wait_that_is_over_before_the_timer_says_so(self):
        t = Timer(nothing, start_delay=3600).start()
        self.assertFalse(t.wait(0.01))
        self.assertFalse(run(0.01))
        t.stop()
        self.assertTrue(run())

    def test_a_callback_that_raises_has_failed(self):
        order = []

        def fail(_timer, _event):
            raise KeyError("key")

        t = Timer(fail, execution_mode="FixedRate", period=0.01,
                  error_fcn=lambda timer, event: order.append((event.error, str(timer.exception))),
                  stop_fcn=lambda _, event: order.append(event.end_reason))
        with self.assertLogs("tovrintimer", "ERROR") as logs:
            t.start().wait()
        self.assertEqual(order, [("KeyError: 'key'", "'key'"), "Failed"])
        self.assertIn("timer_fcn of timer-", logs.output[0])
        self.assertIn("in fail\n", logs.output[0])
        self.assertEqual((t.end_reason, t.errors), ("Failed", 1))
        t.timer_fcn = nothing
        t.tasks_to_execute = 1
        t.start().wait()
        self.assertIsNone(t.exception)

    def test_what_is_no_exception_leaves_the_wait(self):
        t = Timer(lambda *_: sys.exit(3)).start()
        with self.assertRaises(SystemExit) as caught:
            t.wait()
        self.assertEqual(caught.exception.code, 3)
        t.wait()
        self.assertEqual(t.end_reason, "Failed")

    @unittest.skipUnless(os.name == "posix", "Windows has no kill")
    def test_ctrl_c_ends_a_wait_in_which_nothing_is_due(self):
        Timer(nothing, start_delay=3600).start()
        interrupt = threading.Timer(0.2, os.kill, (os.getpid(), signal.SIGINT))
        interrupt.start()
        with self.assertRaises(KeyboardInterrupt):
            run(30)
        interrupt.join()

    def test_a_callback_can_wait_for_another_timer(self):
        order = []
        inner = Timer(lambda *_: order.append("inner"))

        def outer(_timer, _event):
            inner.start().wait()
            order.append("outer")

        Timer(outer).start().wait()
        self.assertEqual(order, ["inner", "outer"])

    def test_another_thread_is_refused(self):
        t = Timer(nothing)
        refusals = []

        def start():
            try:
                t.start()
            except Error as error:
                refusals.append(str(error))

        thread = threading.Thread(target=start)
        thread.start()
        thread.join()
        self.assertRegex(refusals[0], "the host belongs to another thread")

    def test_coroutines_await_timers_while_the_loop_goes_on(self):
        order = []

        async def main():
            quick = Timer(lambda _, event: order.append(f"quick {event.run}"), execution_mode="FixedRate", period=0.04,
                          tasks_to_execute=3)
            slow = Timer(lambda *_: order.append("slow"), start_delay=0.2)
            began = time.monotonic()
            slow.start()
            quick.start()
            loop = asyncio.get_running_loop()
            loop.call_later(0.14, order.append, "loop")
            await quick
            self.assertGreaterEqual(time.monotonic(), began + 0.08 - 0.001)  # in which the engine keeps time
            await asyncio.gather(slow, slow)

        asyncio.run(main())
        self.assertEqual(order, ["quick 1", "quick 2", "quick 3", "loop", "slow"])

    def test_a_coroutine_that_is_cancelled_leaves_the_timer_as_it_is(self):
        async def main():
            t = Timer(nothing, start_delay=3600).start()
            with self.assertRaises(asyncio.TimeoutError):
                await asyncio.wait_for(until(t), 0.05)
            return t

        async def until(timer):
            await timer

        t = asyncio.run(main())
        self.assertTrue(t.is_running)

    def test_a_timer_that_is_closed_is_not_awaited_for_ever(self):
        async def main(close):
            t = Timer(nothing, start_delay=3600).start()
            asyncio.get_running_loop().call_later(0.01, close, t)
            await asyncio.wait_for(until(t), 30)

        async def until(timer):
            await timer

        asyncio.run(main(Timer.close))
        asyncio.run(main(lambda _: tovrintimer.close()))

    def test_after_close_everything_begins_anew(self):
        reasons = []
        t = Timer(nothing, start_delay=3600, stop_fcn=lambda _, event: reasons.append(event.end_reason)).start()
        tovrintimer.close()
        self.assertEqual(reasons, ["Shutdown"])
        with self.assertRaises(Error):
            t.start()
        self.assertTrue(Timer(nothing).start().wait())

    def test_the_package_has_at_most_300_lines(self):
        sources = pathlib.Path(tovrintimer.__file__).parent.glob("*.py")
        self.assertLessEqual(sum(len(source.read_text().splitlines()) for source in sources), 300)


if __name__ == "__main__":
    unittest.main()
