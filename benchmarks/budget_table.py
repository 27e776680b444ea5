"""The table that a benchmark prints: each figure beside that of a neighbour in the same run, and its budget."""

from dataclasses import dataclass


@dataclass(frozen=True)
class Row:
    what: str
    ours: float
    # The figure of the neighbour; the ratio counts where there is one.
    neighbour: float | None
    # What the ratio, or without a neighbour the figure itself, may be at most. None: it is only told.
    budget: float | None
    remark: str = ""

    @property
    def compared(self):
        return self.ours if self.neighbour is None else self.ours / self.neighbour if self.neighbour else float("inf")

    @property
    def kept(self):
        return self.budget is None or self.compared <= self.budget


def print_table(title, rows):
    """Prints the rows; the exit code: 1 when a budget is missed."""
    print(f"{title:40}{'ours':>10}{'neighbour':>11}{'compared':>10}{'budget':>8}")
    for row in rows:
        neighbour = "" if row.neighbour is None else f"{row.neighbour:.2f}"
        budget = "" if row.budget is None else f"{row.budget:.2f}"
        print(f"{row.what:40}{row.ours:10.2f}{neighbour:>11}{row.compared:10.2f}{budget:>8}   {row.remark}"
              f"{'' if row.kept else '   MISSED'}".rstrip())
    return 0 if all(row.kept for row in rows) else 1
