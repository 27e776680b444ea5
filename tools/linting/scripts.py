"""Shell and Python scripts: shellcheck and flake8, as .shellcheckrc and .flake8 configure them."""

import sys

from linting.tree import Result, files, run, scripts


def shellcheck():
    found = files(".sh") + scripts(b"sh")
    done = run("shellcheck", "--format=gcc", *found)
    return Result(f"{len(found)} files", (done.stdout + done.stderr).splitlines())


def flake8():
    found = files(".py") + scripts(b"python")
    done = run(sys.executable, "-m", "flake8", *found)
    return Result(f"{len(found)} files", (done.stdout + done.stderr).splitlines())
