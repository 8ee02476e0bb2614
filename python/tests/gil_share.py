"""How much a counting Python thread keeps running while the library searches."""

import sys
import threading
import time


def counting_share_during(search, minimum_seconds=0.05, samples=3):
    """The largest share of its own idle speed that a counting thread keeps while `search()`
    runs, over `samples` measurements of at least `minimum_seconds` each (the search repeated
    until then). About 1 when the search releases the GIL; with the GIL held the counter runs
    only between searches, for a switch interval at most, well under 0.2.
    """
    counter = [0]
    stop = threading.Event()

    def count():
        while not stop.is_set():
            counter[0] += 1

    interval = sys.getswitchinterval()
    sys.setswitchinterval(0.0005)
    worker = threading.Thread(target=count)
    worker.start()
    try:
        before = counter[0]
        start = time.perf_counter()
        time.sleep(0.05)
        rate = (counter[0] - before) / (time.perf_counter() - start)
        shares = []
        for _ in range(samples):
            before = counter[0]
            start = time.perf_counter()
            while True:
                assert search()
                duration = time.perf_counter() - start
                if duration >= minimum_seconds:
                    break
            shares.append((counter[0] - before) / (rate * duration))
    finally:
        stop.set()
        worker.join()
        sys.setswitchinterval(interval)
    return max(shares)
