"""clang-tidy over every source of the tree, many sources in one run.

Reading the headers of Qt, GoogleTest and the standard library and matching each check against them costs far more than
a source of ours. So sources are read in groups: a generated file includes them one after the other. Sources whose
names at the top level clash go to different groups; what does not compile in its group all the same is read again
alone, and so is what a group finds fault with: a problem is one of its source, not of the company it is in.

A source that was found clean is not read again until it, a header of the tree that it includes, the configuration,
the packages of the system or clang-tidy change: its mark in the cache folder of ccache is named after all of these.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import tempfile
from dataclasses import dataclass

from linting.tree import ROOT, Result, files, run

CACHE = pathlib.Path(os.environ.get("CCACHE_DIR", ROOT / "build" / "lint")) / "clang-tidy"
CONFIGURATION = ROOT / ".clang-tidy"
# More lines in one run do not make it cheaper, and the runs are spread over the processors.
GROUP_LINES = 7000
# clang's analyzer takes an included source for a main file when its path has this word.
TREE_LINK = "UnifiedSource"

# The presets whose commands are read, and clang's words for what their compiler builds for. A source that several of
# them build is checked as the first one builds it.
PRESETS = {"dev": [], "asan": [], "windows": ["--target=x86_64-w64-mingw32"]}

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*[<"]([^">]+)[">]', re.MULTILINE)
MESSAGE = re.compile(r"^(?P<path>/[^:\n]+):\d+:\d+: (?P<kind>warning|error): .*\[(?P<check>[^\[\]]+)\]$")

# What stands at the beginning of a line is at the top level: namespaces indent nothing here.
TOP_LEVEL = [
    re.compile(r"^#\s*define\s+(\w+)", re.MULTILINE),
    re.compile(r"^(?:class|struct|union|enum(?: class| struct)?)\s+(\w+)(?![^\n]*;$)", re.MULTILINE),
    re.compile(r"^using\s+(\w+)\s*=", re.MULTILINE),
    re.compile(r"^(?:TEST|TEST_F|TEST_P|TYPED_TEST|TYPED_TEST_SUITE|INSTANTIATE_TEST_SUITE_P)\((\w+,\s*\w+)",
               re.MULTILINE),
    re.compile(r"^(?!using|namespace|return|template|class|struct|enum|typedef)[A-Za-z_][\w:<>,*&\[\] ]*?[ *&]"
               r"([A-Za-z_~][\w:~]*)\s*(?:\(|\{|=|;|\[)", re.MULTILINE),
]


@dataclass(frozen=True)
class Flags:
    """The part of a compiler's command that decides what a source means."""

    preset: str
    standard: str
    definitions: frozenset
    folders: tuple

    def system(self):
        return "windows" if self.preset == "windows" else "linux"


@dataclass
class Source:
    path: pathlib.Path
    flags: Flags
    lines: int
    names: set
    reads: set
    world: tuple
    mark: pathlib.Path = None

    @property
    def name(self):
        return self.path.relative_to(ROOT).as_posix()


def flags_of(words, preset):
    """Takes definitions and folders out of a command; warnings and optimisation are the compiler's matter."""
    definitions, folders, standard = set(), [], "-std=c++20"
    words = iter(words)
    for word in words:
        if word in ("-isystem", "-I"):
            folders.append((word, next(words)))
        elif word.startswith("-I"):
            folders.append(("-I", word[2:]))
        elif word.startswith("-D") and not word.endswith("_EXPORTS"):
            definitions.add(word)
        elif word.startswith("-std="):
            standard = word
    return Flags(preset, standard, frozenset(definitions), tuple(folders))


def sources_of(entry):
    """The sources of the tree that a compile command builds: its own, or those that a unity file includes."""
    path = pathlib.Path(entry["directory"], entry["file"])
    if not path.is_relative_to(ROOT / "build"):
        return [path]
    if not path.name.startswith("unity_") or not path.exists():
        return []
    included = [pathlib.Path(name) for name in INCLUDE.findall(path.read_text(encoding="utf-8"))]
    return [name for name in included if name.is_relative_to(ROOT) and not name.is_relative_to(ROOT / "build")]


def commands():
    """From each source to its flags."""
    found = {}
    for preset in PRESETS:
        database = ROOT / "build" / preset / "compile_commands.json"
        if not database.exists():
            continue
        for entry in json.loads(database.read_text(encoding="utf-8")):
            words = shlex.split(entry["command"]) if "command" in entry else entry["arguments"]
            for path in sources_of(entry):
                if path.suffix == ".cpp" and path.is_file():
                    found.setdefault(path, flags_of(words, preset))
    return found


class Headers:
    """Which files of the tree a source reads."""

    def __init__(self):
        self._texts = {}
        self._direct = {}

    def text(self, path):
        if path not in self._texts:
            self._texts[path] = path.read_text(encoding="utf-8")
        return self._texts[path]

    def _included(self, path, folders):
        if path not in self._direct:
            self._direct[path] = INCLUDE.findall(self.text(path))
        for name in self._direct[path]:
            for base in (path.parent, ROOT, *folders):
                found = (base / name).resolve()
                if found.is_relative_to(ROOT) and found.is_file():
                    yield found
                    break

    def read_by(self, path, flags):
        folders = [pathlib.Path(folder) for _, folder in flags.folders if pathlib.Path(folder).is_relative_to(ROOT)]
        seen, left = {path}, [path]
        while left:
            for found in self._included(left.pop(), folders):
                if found not in seen:
                    seen.add(found)
                    left.append(found)
        return seen

    def world_of(self, reads, flags):
        """Sources of different worlds do not get on with each other: systems; Qt, whose headers make keywords of names
        that others use; and the emulator, which has types of its own for everything, alone or beside the device's."""
        qt = any(re.search(r"^#include <Q", self.text(path), re.MULTILINE) for path in reads)
        emulator = any(path.is_relative_to(ROOT / "emulator") for path in reads)
        both = emulator and any(path.is_relative_to(ROOT / "device") for path in reads)
        return flags.system(), qt, emulator, both


def names_at_top_level(text):
    return {re.sub(r"\s", "", match[1]) for pattern in TOP_LEVEL for match in pattern.finditer(text)}


def environment():
    """Of what a mark holds besides files of the tree."""
    status = pathlib.Path("/var/lib/dpkg/status")
    packages = status.read_bytes() if status.exists() else b""
    own = pathlib.Path(__file__).read_bytes()
    return hashlib.sha256(run("clang-tidy", "--version").stdout.encode() + packages + CONFIGURATION.read_bytes() + own)


def read_sources():
    base, headers, found = environment(), Headers(), []
    for path, flags in sorted(commands().items()):
        text, reads = headers.text(path), headers.read_by(path, flags)
        source = Source(path, flags, text.count("\n"), names_at_top_level(text), reads, headers.world_of(reads, flags))
        # The same wherever the tree lies.
        key = base.copy()
        meaning = flags.system(), flags.standard, sorted(flags.definitions), flags.folders
        key.update(repr(meaning).replace(str(ROOT), "").encode())
        for read in sorted(source.reads):
            key.update(f"\0{read.relative_to(ROOT)}\0".encode() + read.read_bytes())
        source.mark = CACHE / key.hexdigest()
        found.append(source)
    return found


def grouped(sources):
    """Sources of one kind in as few groups as their names and GROUP_LINES allow, the largest first."""
    kinds = {}
    for source in sources:
        groups = kinds.setdefault(source.world, [])
        for group in groups:
            full = sum(other.lines for other in group) + source.lines > GROUP_LINES
            if not full and not any((source.names - {"main"}) & other.names for other in group):
                group.append(source)
                break
        else:
            groups.append([source])
    return sorted((group for groups in kinds.values() for group in groups),
                  key=lambda group: -sum(source.lines for source in group))


def unit_text(group, tree):
    """A source that includes all of a group, each with the definitions that its command gives it alone."""
    lines = ["// NOLINTBEGIN: what is told of these lines is of no interest"]
    for number, source in enumerate(group):
        # Qt's and the compiler's definitions stand in the common command.
        own = [word[2:].partition("=") for word in sorted(source.flags.definitions) if not shared(word)]
        own += [("main", "=", main_name(number))] if "main" in source.names else []
        lines += [f"#define {name} {value or 1}" for name, _, value in own]
        lines += [f'#include "{tree}/{source.name}"']
        lines += [f"#undef {name}" for name, _, value in own]
    return "\n".join([*lines, "// NOLINTEND", ""])


def shared(definition):
    return not re.match(r"-D(VEXO_|QT_TESTCASE_)", definition)


def main_name(number):
    """A group has room for several main functions, which each need a name of their own then."""
    return f"mainOfSource{number}"


def configuration(group):
    """.clang-tidy, which has to know the main functions by the names that they have here."""
    names = ",".join(main_name(number) for number, source in enumerate(group) if "main" in source.names)
    text = CONFIGURATION.read_text(encoding="utf-8")
    return f"{text}  bugprone-exception-escape.FunctionsThatShouldNotThrow: '{names}'\n"


def clang_tidy(group):
    """Runs it over a group. Returns its messages, (path, whether the compiler's, text) each."""
    with tempfile.TemporaryDirectory(prefix="vexo-tidy-") as name:
        folder = pathlib.Path(name)
        link = folder / TREE_LINK
        link.symlink_to(ROOT)
        unit = folder / "group.cpp"
        unit.write_text(unit_text(group, link), encoding="utf-8")
        (folder / "configuration").write_text(configuration(group), encoding="utf-8")
        definitions = sorted({word for source in group for word in source.flags.definitions if shared(word)})
        folders = {pair: None for source in group for pair in source.flags.folders}
        first = group[0].flags
        command = ["clang++", *PRESETS[first.preset], first.standard, *definitions,
                   *(word for pair in folders for word in pair), "-c", str(unit)]
        (folder / "compile_commands.json").write_text(
            json.dumps([{"directory": name, "file": str(unit), "arguments": command}]), encoding="utf-8")
        done = run("clang-tidy", "--quiet", "-p", folder, f"--config-file={folder / 'configuration'}",
                   f"--header-filter=^({re.escape(str(ROOT))}|{re.escape(str(link))})/",
                   f"--exclude-header-filter=^{re.escape(str(ROOT))}/build/", unit)
        return messages((done.stdout + "\n" + done.stderr).replace(str(link), str(ROOT)), done.returncode)


def messages(text, status):
    found = []
    for line in text.splitlines():
        match = MESSAGE.match(line)
        if match:
            path = pathlib.Path(os.path.normpath(match["path"]))
            shown = str(path.relative_to(ROOT)) if path.is_relative_to(ROOT) else str(path)
            found.append((path, match["check"] == "clang-diagnostic-error", line.replace(match["path"], shown, 1)))
        elif found and re.match(r"^ +(\d+ )?\||^/[^:]+:\d+:\d+: note: ", line):
            found[-1] = (*found[-1][:2], f"{found[-1][2]}\n{line.replace(f'{ROOT}/', '')}")
    # Ended by a signal, it has not read everything.
    if status not in (0, 1) or (status == 1 and not found):
        found.append((ROOT, True, text.strip()))
    return found


def check_group(group):
    """The problems of a group. A source without one, in itself and in what it reads, is marked as clean."""
    told = clang_tidy(group)
    if len(group) == 1 or not told:
        return close(group, told)
    broken = {path for path, by_compiler, _ in told if by_compiler}
    if broken:
        # What does not compile hides what comes after it, so the others are read without it.
        alone = [source for source in group if source.path in broken]
        rest = [source for source in group if source.path not in broken]
        if not alone:
            # An error in a header says nothing of who caused it.
            middle = len(group) // 2
            return check_group(group[:middle]) + check_group(group[middle:])
        return check_each(alone) + (check_group(rest) if rest else [])
    wrong = {path for path, _, _ in told}
    suspects = [source for source in group if source.path in wrong]
    # A problem of a source is one of it alone, too: the company of others may have been the reason.
    problems = check_each(suspects)
    headers = wrong - {source.path for source in suspects}
    problems += [text for path, _, text in told if path in headers and text not in problems]
    close([source for source in group if source not in suspects and not source.reads & wrong], [])
    return problems


def check_each(sources):
    return [problem for source in sources for problem in check_group([source])]


def close(group, told):
    """Marks the sources of a group as clean where nothing was told. Returns the text of what was."""
    if not told:
        for source in group:
            source.mark.touch()
    return [text for _, _, text in told]


def check():
    CACHE.mkdir(parents=True, exist_ok=True)
    sources = read_sources()
    unknown = [source for source in sources if not source.mark.exists()]
    groups = grouped(unknown)
    result = Result(f"{len(sources)} files, {len(unknown)} of them read in {len(groups)} groups")
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for problems in pool.map(check_group, groups):
            result.problems += [problem for problem in problems if problem not in result.problems]
    left = sorted(path.relative_to(ROOT).as_posix()
                  for path in set(files(".cpp")) - {source.path for source in sources})
    if left:
        result.notes.append(f"{len(left)} files are in no preset that is configured, and were not read: " +
                            " ".join(left))
    return result
