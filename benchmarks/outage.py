#!/usr/bin/env python3
"""What the service gets when it was away and comes back: a simulation of the program's own rule for its events.

    benchmarks/outage.py [PROGRAMS] [EVENTS_A_DAY] [SEED]

Each program stores its events at random times of a working time of 8 hours. With each event it looks whether 50 are waiting
and sends one batch of 50 then; a batch that is taken is followed by the next one while 50 are waiting. Nothing else sends:
there is no timer. Prints calls a second for a million programs before, during and after an outage of the given hours, and
how long the events that had gathered take to leave.
"""

import heapq
import random
import sys

BATCH = 50
DAY_SECONDS = 8 * 3600
# From the time of the answer to the next batch of a chain.
ROUND_TRIP_SECONDS = 0.2
MILLION = 1_000_000


def simulate(programs, events_a_day, outage_hours, seed):
    """Calls in each second, and the second at which the last program that had gathered 50 has none of them left."""
    luck = random.Random(seed)
    begin = DAY_SECONDS / 4
    end = begin + outage_hours * 3600
    calls = {}
    drained = end
    for _ in range(programs):
        # Somewhere below a batch, as a day leaves it.
        waiting = luck.randrange(BATCH)
        late = False
        times = [luck.random() * DAY_SECONDS for _ in range(events_a_day)]
        heapq.heapify(times)
        while times:
            now = heapq.heappop(times)
            waiting += 1
            moment = now
            while waiting >= BATCH:
                calls[int(moment)] = calls.get(int(moment), 0) + 1
                if begin <= now < end:
                    late = True
                    break
                waiting -= BATCH
                moment += ROUND_TRIP_SECONDS
            if late and now >= end:
                drained = max(drained, moment)
                late = False
    return calls, begin, end, drained


def rate(calls, begin, end, scale):
    return sum(count for second, count in calls.items() if begin <= second < end) / (end - begin) * scale


def main():
    programs, events_a_day, seed = (int(word) for word in (sys.argv[1:] + ["5000", "200", "1"][len(sys.argv) - 1:]))
    scale = MILLION / programs
    print(f"{programs} programs, {events_a_day} events each in 8 hours, seed {seed}; calls a second for a million")
    for hours in (0.25, 1, 4):
        calls, begin, end, drained = simulate(programs, events_a_day, hours, seed)
        after = end + 600
        print(f"outage of {hours:g} h: before {rate(calls, 0, begin, scale):.0f}, in its last 10 minutes "
              f"{rate(calls, end - 600, end, scale):.0f}, in the 10 minutes after it {rate(calls, end, after, scale):.0f}, "
              f"the last late program is through {(drained - end) / 60:.0f} min after it")


if __name__ == "__main__":
    main()
