"""The hardening of what the preset windows builds, read from the files themselves."""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tests" / "system")]

from binaries import call_gaps, pe_calls, pe_layout_gaps  # noqa: E402

BUILD = pathlib.Path(os.environ["VEXO_BUILD"])
COMPILER, OBJDUMP = os.environ["VEXO_COMPILER"], os.environ["VEXO_OBJDUMP"]
OFF = ["-fno-stack-protector", "-U_FORTIFY_SOURCE", "-Wl,--disable-dynamicbase",
       "-Wl,--disable-high-entropy-va", "-Wl,--disable-nxcompat", "-Wl,--disable-reloc-section", "-Wl,--image-base,0x400000"]
# The compiler's C++ library cannot end a process with them.
NEVER_THERE = ["library assertions"]


class Hardening(unittest.TestCase):
    def test_what_is_built_is_hardened(self):
        for program in ("app/VexoDeck.exe", "emulator/hidapi/libhidapi.dll"):
            with self.subTest(file=program):
                self.assertEqual(pe_layout_gaps(BUILD / program, OBJDUMP), [])
                self.assertEqual(call_gaps(pe_calls(BUILD / program, OBJDUMP)), NEVER_THERE)

    def test_what_is_installed_lies_at_random_addresses(self):
        with tempfile.TemporaryDirectory(prefix="vexo-install-") as folder:
            subprocess.run(["cmake", "--install", BUILD, "--prefix", folder], check=True, capture_output=True)
            files = [path for path in pathlib.Path(folder).rglob("*") if path.suffix in (".exe", ".dll")]
            self.assertIn("VexoDeck.exe", [path.name for path in files])
            for path in files:
                with self.subTest(file=path.name):
                    self.assertEqual(pe_layout_gaps(path, OBJDUMP), [])

    def test_what_lacks_everything_is_told_in_full(self):
        with tempfile.TemporaryDirectory(prefix="vexo-hardening-") as folder:
            source, program = pathlib.Path(folder, "sample.cpp"), pathlib.Path(folder, "sample.exe")
            source.write_text("int main() { return 0; }\n")
            subprocess.run([COMPILER, "-O2", *OFF, source, "-o", program], check=True)
            self.assertEqual(pe_layout_gaps(program, OBJDUMP),
                             ["random addresses", "addresses of 64 bits", "relocations", "data is no code"])
            self.assertEqual(call_gaps(pe_calls(program, OBJDUMP)), ["stack protector", "checked copies", *NEVER_THERE])


if __name__ == "__main__":
    unittest.main()
