"""The format of C++ sources."""

from linting.tree import Result, files, run


def clang_format(fix):
    sources = files(".h", ".cpp")
    done = run("clang-format", *(["-i"] if fix else ["--dry-run", "-Werror"]), *sources)
    return Result(f"{len(sources)} files", [] if done.returncode == 0 else done.stderr.splitlines())
