"""The table that a benchmark prints: each figure beside that of a neighbour in the same run, and its budget."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Row:
    what: str
    ours: float
    # The figure of the neighbour; the ratio of the two counts if there is one.
    neighbour: float | None
    # What the ratio, or without a neighbour the figure itself, may be at most.
    budget: float
    remark: str = ""

    @property
    def compared(self):
        return self.ours if self.neighbour is None else self.ours / self.neighbour

    @property
    def kept(self):
        return self.compared <= self.budget


def print_table(title, rows):
    """Prints the rows; the exit code: 1 when a budget is missed."""
    print(f"{title:40}{'ours':>10}{'neighbour':>11}{'compared':>10}{'budget':>8}")
    for row in rows:
        neighbour = "" if row.neighbour is None else f"{row.neighbour:.2f}"
        print(f"{row.what:40}{row.ours:10.2f}{neighbour:>11}{row.compared:10.2f}{row.budget:8.2f}   {row.remark}"
              f"{'' if row.kept else '   MISSED'}".rstrip())
    return 0 if all(row.kept for row in rows) else 1
