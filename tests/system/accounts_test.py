"""Several accounts on one machine: each runs the program once, whatever the others do."""

import os
import pathlib
import random
import shutil
import signal
import subprocess
import tempfile
import unittest

from stage import Program, wait_until
from system_case import ALREADY_RUNNING, LONG, program_beside

ROUNDS = 200 if LONG else 16
# Numbers that no account of a system has.
ACCOUNTS = (60001, 60002)
RUNS = "QSettings file path:"


@unittest.skipUnless(os.geteuid() == 0, "only root can start programs of other accounts")
class Accounts(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vexo-accounts-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.folder.chmod(0o755)
        # As the folder of temporary files that all accounts share.
        (self.folder / "tmp").mkdir()
        (self.folder / "tmp").chmod(0o1777)
        self.executable = program_beside(self.folder / "program", "import QtQml\nQtObject {}\n")
        self.programs = {account: [] for account in ACCOUNTS}
        self.count = 0
        for account in ACCOUNTS:
            for name in ("home", "runtime"):
                place = self.folder / f"{name}-{account}"
                place.mkdir(mode=0o700)
                os.chown(place, account, account)
        self.addCleanup(self._end)

    def _end(self):
        for account in ACCOUNTS:
            for program in self.programs[account]:
                program.process.kill()
                program.process.wait()
        for kind, option in (("shm", "-m"), ("sem", "-s")):
            for line in pathlib.Path(f"/proc/sysvipc/{kind}").read_text(encoding="ascii").splitlines()[1:]:
                words = line.split()
                owner = words[7] if kind == "shm" else words[4]
                if int(owner) in ACCOUNTS:
                    subprocess.run(["ipcrm", option, words[1]], check=False, capture_output=True)

    def start(self, account):
        home = self.folder / f"home-{account}"
        env = {"PATH": os.environ["PATH"], "HOME": str(home), "LANG": "C.UTF-8", "QT_QPA_PLATFORM": "offscreen",
               "TMPDIR": str(self.folder / "tmp"), "XDG_RUNTIME_DIR": str(self.folder / f"runtime-{account}")}
        self.count += 1
        return Program([str(self.executable)], env, self.folder / f"{self.count}.log", user=account, group=account,
                       extra_groups=[], cwd="/")

    @staticmethod
    def decided(program):
        return program.process.poll() is not None or RUNS in program.log

    def start_some(self, account, count):
        """Starts the program of an account at the same moment; of all that it has then exactly one runs."""
        former = list(self.programs[account])
        new = [self.start(account) for _ in range(count)]
        self.programs[account] += new
        for program in new:
            wait_until(lambda: self.decided(program), "a decision")
        running = [program for program in self.programs[account] if program.process.poll() is None]
        logs = [program.log for program in new]
        self.assertEqual(len(running), 1, logs)
        if former:
            self.assertEqual(running, former, "the one that ran before")
        for program in new:
            if program is not running[0]:
                self.assertEqual(program.wait_exit(), 1, program.log)
                self.assertEqual(program.log.strip(), ALREADY_RUNNING)
        self.programs[account] = running

    def end_all(self, account, sign):
        for program in self.programs[account]:
            program.process.send_signal(sign)
            program.wait_exit()
        self.programs[account] = []

    def test_each_runs_at_most_one_and_neither_is_blocked(self):
        seed = random.randrange(1 << 32)
        print(f"seed {seed}")
        chance = random.Random(seed)
        for number in range(ROUNDS):
            account = chance.choice(ACCOUNTS)
            what = chance.choice(["start", "start", "quit", "crash"])
            with self.subTest(round=number, account=account, what=what):
                if what == "start":
                    self.start_some(account, chance.randrange(1, 4))
                else:
                    self.end_all(account, signal.SIGTERM if what == "quit" else signal.SIGKILL)

    def test_what_an_account_leaves_in_the_shared_folder_blocks_nobody(self):
        first, second = ACCOUNTS
        self.start_some(first, 1)
        self.start_some(second, 2)
        self.end_all(first, signal.SIGKILL)
        self.end_all(second, signal.SIGKILL)
        self.start_some(second, 2)
        self.start_some(first, 2)
        # A cleaned folder of temporary files lets no second one in.
        for place in (self.folder / "tmp").iterdir():
            place.unlink()
        self.start_some(first, 1)
        self.start_some(second, 1)


if __name__ == "__main__":
    unittest.main()
