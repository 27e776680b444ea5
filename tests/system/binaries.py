"""What a built file says about its hardening: each function returns the names of what it lacks."""

import re
import subprocess

# Words of the command line that the compiler writes into the debug information of each unit.
UNIT_WORDS = {
    "x86_64": ["-fstack-protector-strong", "-fstack-clash-protection", "-fcf-protection=full"],
    "aarch64": ["-fstack-protector-strong", "-fstack-clash-protection", "-mbranch-protection=standard"],
}
# Functions of the C library that check the size of what they write, beside that of the stack protector.
CHECKED_COPY = re.compile(r"__(?!stack_chk_fail)\w+_chk")
# Called by the C++ library where an index or a state is wrong.
ASSERTION = re.compile(r"_ZSt21__glibcxx_assert_fail\w*")
STACK_PROTECTOR = re.compile(r"__stack_chk_fail")


def output(*command):
    return subprocess.run([str(word) for word in command], check=True, capture_output=True, text=True).stdout


def lacking(properties):
    return [name for name, there in properties.items() if not there]


def call_gaps(names):
    """Of the functions that a file asks others for."""
    def some(pattern):
        return any(pattern.fullmatch(name) for name in names)

    return lacking({
        "stack protector": some(STACK_PROTECTOR),
        "checked copies": some(CHECKED_COPY),
        "library assertions": some(ASSERTION),
    })


def elf_layout_gaps(path):
    """How an ELF executable or library lies in memory."""
    text = output("readelf", "--file-header", "--program-headers", "--dynamic", "--wide", path)
    segments = [(kind, flags.replace(" ", "")) for kind, flags in
                re.findall(r"^  ([A-Z_]+) +(?:0x[0-9a-f]+ +){5}([RWE ]{3}) ", text, re.MULTILINE)]
    kinds = [kind for kind, _ in segments]
    flags = " ".join(re.findall(r"\(FLAGS(?:_1)?\)(.*)", text))
    library = "INTERP" not in kinds
    return lacking({
        "position independent": re.search(r"Type: +DYN ", text) and (library or "PIE" in flags.split()),
        "stack without code": [rights for kind, rights in segments if kind == "GNU_STACK"] == ["RW"],
        "no writable code": "LOAD" in kinds and ("LOAD", "RWE") not in segments,
        "read-only relocations": "GNU_RELRO" in kinds,
        "immediate binding": re.search(r"\bNOW\b|BIND_NOW", flags),
        "code without relocations": "TEXTREL" not in text,
    })


def elf_calls(path):
    """The functions that an ELF file takes from shared libraries."""
    names = []
    for line in output("readelf", "--dyn-syms", "--wide", path).splitlines():
        fields = line.split()
        if len(fields) > 7 and fields[6] == "UND":
            names.append(fields[7].split("@")[0])
    return names


def holds(word, words):
    """Whether the last word of a command line about what `word` is about is `word` itself."""
    subject = re.match(r"-[fm](\w+-(?:clash-)?(?:protector|protection))", word)[1]
    about = [one for one in words if re.match(rf"-[fm](?:no-)?{subject}\b", one)]
    return about[-1:] == [word]


def elf_unit_gaps(path, machine):
    """The units of an ELF file that were compiled without a word of UNIT_WORDS, each with the words. Debug information
    that was split off is looked for beside the file."""
    split = path.with_name(f"{path.name}.debug")
    text = output("readelf", "--debug-dump=info", "--dwarf-depth=1", "--wide", split if split.exists() else path)
    producers = re.findall(r"DW_AT_producer .*?: (?:\(.*?\): )*(.*)", text)
    names = re.findall(r"DW_AT_name .*?: (?:\(.*?\): )*(.*)", text)
    if not producers:
        return ["no debug information"]
    gaps = []
    for name, words in zip(names, (producer.split() for producer in producers)):
        missing = [word for word in UNIT_WORDS[machine] if not holds(word, words)]
        if missing:
            gaps.append(f"{name}: {' '.join(missing)}")
    return gaps


def pe_layout_gaps(path, objdump):
    """Where a PE executable or library lies in memory."""
    text = output(objdump, "--private-headers", path)
    words = text.split()
    relocations = re.search(r"^Entry 5 [0-9a-f]+ ([0-9a-f]+) ", text, re.MULTILINE)
    base = re.search(r"^ImageBase\s+([0-9a-f]+)", text, re.MULTILINE)
    return lacking({
        "random addresses": "DYNAMIC_BASE" in words,
        "addresses of 64 bits": "HIGH_ENTROPY_VA" in words and int(base[1], 16) > 0xFFFFFFFF,
        "relocations": relocations and int(relocations[1], 16) > 0 and "relocations stripped" not in text,
        "data is no code": "NX_COMPAT" in words,
    })


def pe_calls(path, objdump):
    """The functions that a PE file takes from other libraries."""
    return re.findall(r"^\t[0-9a-f]+ +\S+ +[0-9a-f]+ +(\w+)$", output(objdump, "--private-headers", path), re.MULTILINE)
