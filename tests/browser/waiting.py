"""Waiting for conditions, with a deadline; and the time for which the machine had no processor for us."""

import threading
import time

LONG = 10.0  # seconds; a machine may be busy


def wait_until(condition, what, seconds=LONG):
    """The first true value of the condition; AssertionError with what was waited for."""
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"not within {seconds} s: {what}")
        time.sleep(0.02)


class StallMeter:
    """Notes when a thread that only wants to run every few milliseconds did not: then nobody ran as they wanted."""

    STEP = 0.004

    def __init__(self):
        self._gaps = []
        self._end = threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._end.set()
        self._thread.join()

    def _run(self):
        last = time.time()
        while not self._end.wait(self.STEP):
            now = time.time()
            if now - last > 3 * self.STEP:
                self._gaps.append((last + self.STEP, now))
            last = now

    def stalled(self, begin, end):
        """Seconds between two times (of time.time()) for which this thread was held up."""
        return sum(max(0.0, min(end, gap_end) - max(begin, gap_begin)) for gap_begin, gap_end in list(self._gaps))
