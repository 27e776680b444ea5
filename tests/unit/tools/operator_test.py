"""What the configuration of a build takes from the operator's file."""

import json
import pathlib
import subprocess
import tempfile
import unittest

MODULE = pathlib.Path(__file__).resolve().parents[3] / "cmake" / "VexoOperator.cmake"


class Operator(unittest.TestCase):
    def configure(self, member, value):
        """Whether the value is taken, and what cmake printed."""
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            (root / "app").mkdir()
            (root / "app" / "operator.json").write_text(json.dumps({member: value}), encoding="utf-8")
            (root / "read.cmake").write_text(
                f'cmake_minimum_required(VERSION 3.25)\ninclude("{MODULE}")\nvexo_operator({member})\n'
                f'message("[${{OPERATOR_{member}}}]")\n',
                encoding="utf-8")
            run = subprocess.run(["cmake", "-P", "read.cmake"], cwd=root, capture_output=True, text=True,
                                 check=False)
            return run.returncode == 0, run.stderr

    def test_texts_of_one_line_are_taken_as_they_are(self):
        for member, value in (("organizationDomain", "vexo.example"), ("phone", "400 中 1; 2"),
                              ("supportChat", "https://vexo.example/chat?a=$1;b=<c>")):
            self.assertEqual(self.configure(member, value), (True, f"[{value}]\n"))

    def test_control_characters_end_the_configuration(self):
        for code in range(1, 0x20):
            taken, printed = self.configure("phone", f"1{chr(code)}2")
            self.assertFalse(taken, hex(code))
            self.assertIn("phone wants a text of one line", printed)

    def test_hosts_have_no_characters_that_a_build_reads_as_its_own(self):
        for member in ("organizationDomain", "homePage", "serviceHost", "chineseSite", "internationalSite"):
            for character in ";$<>":
                taken, printed = self.configure(member, f"vexo{character}example")
                self.assertFalse(taken, (member, character))
                self.assertIn(f"{member} wants an address", " ".join(printed.split()))


if __name__ == "__main__":
    unittest.main()
