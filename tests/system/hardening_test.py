"""The hardening of what is built, read from the files themselves."""

import os
import pathlib
import platform
import subprocess
import tempfile
import unittest

from binaries import call_gaps, elf_calls, elf_layout_gaps, elf_unit_gaps
from system_case import BUILD, ROOT

MACHINE = platform.machine()
# Beside what is installed: what ./run starts.
PROGRAMS = ["emulator/vexo-emulator", "emulator/hidapi/libhidapi-hidraw.so.0"]
# A copy that may not fit, and an index that may be out of range.
SAMPLE = """
#include <cstring>
#include <string>
int main(int count, char** words) {
    char copy[64];
    std::memcpy(copy, words[0], static_cast<std::size_t>(count));
    const std::string text = copy;
    return text[static_cast<std::size_t>(count)];
}
"""
# The last word on a matter counts.
OFF = ["-fstack-protector-strong", "-fno-stack-protector", "-fcf-protection=none", "-fno-stack-clash-protection",
       "-U_FORTIFY_SOURCE", "-U_GLIBCXX_ASSERTIONS", "-no-pie", "-fno-pie", "-Wl,-z,norelro,-z,lazy,-z,execstack"]


def is_elf(path):
    with open(path, "rb") as file:
        return file.read(4) == b"\x7fELF"


class Hardening(unittest.TestCase):
    def assert_hardened(self, path, units=True):
        with self.subTest(file=str(path)):
            self.assertEqual(elf_layout_gaps(path), [])
            self.assertEqual(call_gaps(elf_calls(path)), [])
            if units:
                self.assertEqual(elf_unit_gaps(path, MACHINE), [])

    def test_what_is_built_is_hardened_in_each_unit(self):
        self.assert_hardened(BUILD / "app" / "VexoDeck")
        for program in PROGRAMS:
            self.assert_hardened(BUILD / program)

    def test_what_is_installed_is_hardened(self):
        with tempfile.TemporaryDirectory(prefix="vexo-install-") as folder:
            subprocess.run(["cmake", "--install", BUILD, "--prefix", "/usr"], check=True, capture_output=True,
                           env=dict(os.environ, DESTDIR=folder))
            installed = [path for path in pathlib.Path(folder).rglob("*") if path.is_file() and is_elf(path)]
            self.assertNotEqual(installed, [])
            # Its debug information may have been split off.
            for path in installed:
                self.assert_hardened(path, units=False)

    def test_the_preset_of_users_hardens_too(self):
        """Without the program itself, which takes minutes to build."""
        folder = BUILD / "hardening-release"
        targets = ["vexo-emulator", "vexo_hidapi_emulated"]
        # With debug information, so that each unit says how it was compiled.
        for command in (["cmake", "--preset", "release", "-B", folder, "-DCMAKE_CXX_FLAGS=-g1"],
                        ["cmake", "--build", folder, "--target", *targets]):
            result = subprocess.run(command, cwd=ROOT, capture_output=True, text=True)
            self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        for program in PROGRAMS:
            self.assert_hardened(folder / program)

    def test_what_lacks_everything_is_told_in_full(self):
        with tempfile.TemporaryDirectory(prefix="vexo-hardening-") as folder:
            source, program = pathlib.Path(folder, "sample.cpp"), pathlib.Path(folder, "sample")
            source.write_text(SAMPLE)
            subprocess.run(["g++", "-std=c++20", "-O2", "-g1", "-w", *OFF, source, "-o", program], check=True)
            self.assertEqual(elf_layout_gaps(program),
                             ["position independent", "stack without code", "read-only relocations", "immediate binding"])
            self.assertEqual(call_gaps(elf_calls(program)), ["stack protector", "checked copies", "library assertions"])
            (gap,) = elf_unit_gaps(program, MACHINE)
            self.assertEqual(len(gap.split()), 4, f"the unit and three words: {gap}")
            subprocess.run(["strip", program], check=True)
            self.assertEqual(elf_unit_gaps(program, MACHINE), ["no debug information"])

    def test_code_that_can_be_written_is_told(self):
        with tempfile.TemporaryDirectory(prefix="vexo-hardening-") as folder:
            source, program = pathlib.Path(folder, "sample.cpp"), pathlib.Path(folder, "sample")
            source.write_text('extern "C" void _start() {}')
            subprocess.run(["g++", "-nostdlib", "-static", "-Wl,--omagic,--no-warn-rwx-segments", source, "-o", program], check=True)
            self.assertIn("no writable code", elf_layout_gaps(program))


if __name__ == "__main__":
    unittest.main()
