"""Who may include whom: the table of docs/architecture.md, held against every include of the tree.

The table is the one whose header row is "| Room | May include |". A row names one room, a folder, in backticks; its
second cell names what files of that room may include, each in backticks and separated by commas: rooms, single
headers (`platform/ThreadName.h`), `*` for everything, or the word "nothing". A file belongs to the longest room
that holds it. A room always includes itself, and nothing of the rooms inside of it unless the row names them.

Problems are an include that its row does not allow, a file in no room, a room that is no folder, a permission that
no file uses, an include whose file is not in the tree, and a circle of rooms or of top folders. A top folder includes
what its rooms include; platform/linux and platform/windows count as top folders of their own, since platform/ declares
what they define. A row with `*` takes no part in circles: nothing may include it but rows with `*`.
"""

import pathlib
import re

from linting.tree import ROOT, Result, files

TABLE = "docs/architecture.md"
HEADER = re.compile(r"^\|\s*Room\s*\|\s*May include\s*\|\s*$")
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^">]+)[">]', re.MULTILINE)
EVERYTHING = "*"
BODIES = ("platform/linux", "platform/windows")


class TableError(Exception):
    """The table cannot be read."""


def read_table(text):
    """The rows as a dictionary from room to the set of what it may include."""
    lines = text.splitlines()
    start = next((at for at, line in enumerate(lines) if HEADER.match(line)), None)
    if start is None:
        raise TableError(f'{TABLE} has no table with the header "| Room | May include |"')
    table = {}
    for line in lines[start + 2:]:
        if not line.startswith("|"):
            break
        cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
        rooms = re.findall(r"`([^`]+)`", cells[0])
        if len(cells) != 2 or len(rooms) != 1:
            raise TableError(f"not a row with one room and what it may include: {line}")
        room, allowed = rooms[0].rstrip("/"), re.findall(r"`([^`]+)`", cells[1])
        rest = re.sub(r"`[^`]+`", "", cells[1]).replace(",", "").strip()
        if room in table or rest != ("" if allowed else "nothing"):
            raise TableError(f"a room that stands twice, or a cell that is no list: {line}")
        table[room] = {word.rstrip("/") for word in allowed}
    return table


def room_of(path, table):
    """The longest room that holds a path relative to the root; None where there is none."""
    for folder in pathlib.PurePosixPath(path).parents:
        if str(folder) in table:
            return str(folder)
    return None


def included(root, path, name):
    """The file that an include means, relative to the root; None where it is not in the tree."""
    folder = path.parent
    for base in (folder, root):
        found = (base / name).resolve()
        if found.is_file() and found.is_relative_to(root):
            return found.relative_to(root).as_posix()
    return None


def room_ways(table):
    """From each room to the other rooms that it may include something of."""
    return {room: set() if EVERYTHING in allowed
            else {room_of(f"{word}/x", table) for word in allowed} - {room, None}
            for room, allowed in table.items()}


def top_folder(room):
    return next((body for body in BODIES if pathlib.PurePosixPath(room).is_relative_to(body)), room.split("/")[0])


def top_folder_ways(ways):
    """The ways between rooms as ways between their top folders."""
    folded = {}
    for room, others in ways.items():
        folder = top_folder(room)
        folded.setdefault(folder, set()).update({top_folder(other) for other in others} - {folder})
    return folded


def circle(ways):
    """Folders that include each other in a circle, the first one again at the end; nothing where there is none."""
    done, way = set(), []

    def visit(folder):
        if folder in way:
            return [*way[way.index(folder):], folder]
        if folder in done:
            return []
        way.append(folder)
        for other in sorted(ways[folder]):
            found = visit(other)
            if found:
                return found
        done.add(way.pop())
        return []

    for folder in sorted(ways):
        found = visit(folder)
        if found:
            return found
    return []


def check_file(root, path, table, used):
    """The problems of one file; what it uses of the table is added to `used`."""
    name = path.relative_to(root).as_posix()
    room = room_of(name, table)
    if room is None:
        return [f"{name} lies in no room of the table"]
    problems = []
    text = path.read_text(encoding="utf-8")
    for match in INCLUDE.finditer(text):
        line = text.count("\n", 0, match.start()) + 1
        opener, word = match.groups()
        target = included(root, path, word)
        if target is None:
            if opener == '"' and not word.endswith(".moc"):
                problems.append(f'{name}:{line}: "{word}" is not in the tree: name it from the root folder')
            continue
        other = room_of(target, table)
        if other == room or table[room] == {EVERYTHING}:
            continue
        allowed = {other, target} & table[room]
        if allowed:
            used.update((room, word) for word in allowed)
        else:
            problems.append(f"{name}:{line}: {room} may not include {other or 'a file in no room'}: {target}")
    return problems


def check_table(root, table, used):
    """What is wrong with the table itself, given what files use of it."""
    problems = [f"{room} is no folder" for room in table if not (root / room).is_dir()]
    for room, allowed in table.items():
        problems += [f"{room} may include {word}, and no file does"
                     for word in sorted(allowed - {EVERYTHING}) if (room, word) not in used]
        if EVERYTHING not in allowed:
            problems += [f"{room} may not include {other}, which includes everything"
                         for other in sorted(allowed & table.keys()) if EVERYTHING in table[other]]
    ways = room_ways(table)
    way = circle(ways) or circle(top_folder_ways(ways))
    if way:
        problems.append(f"a circle: {' -> '.join(way)}")
    return [f"{TABLE}: {problem}" for problem in problems]


def check(root=ROOT):
    root = root.resolve()
    sources = files(".h", ".cpp", root=root)
    result = Result(f"{len(sources)} files")
    try:
        table = read_table((root / TABLE).read_text(encoding="utf-8"))
    except TableError as error:
        result.problems.append(str(error))
        return result
    used = set()
    for path in sources:
        result.problems += check_file(root, path, table, used)
    result.problems += check_table(root, table, used)
    return result
