"""What "cmake --install" puts on a Linux system."""

import os
import pathlib
import re
import subprocess
import tempfile
import unittest

from system_case import BUILD, ROOT


class Install(unittest.TestCase):
    def install(self, prefix, *words):
        folder = tempfile.TemporaryDirectory(prefix="vexo-install-")
        self.addCleanup(folder.cleanup)
        subprocess.run(["cmake", "--install", str(BUILD), "--prefix", prefix, *words], check=True, capture_output=True,
                       env=dict(os.environ, DESTDIR=folder.name))
        return pathlib.Path(folder.name)

    def test_the_program_and_the_udev_rule_lie_where_the_system_looks_for_them(self):
        for prefix in ("/usr", "/usr/local"):
            root = self.install(prefix)
            files = sorted(str(path.relative_to(root)) for path in root.rglob("*") if not path.is_dir())
            place = prefix.lstrip("/")
            self.assertEqual(files, [f"{place}/bin/VexoDeck", f"{place}/lib/udev/rules.d/70-vexo-deck.rules"])
            rule = root / place / "lib/udev/rules.d/70-vexo-deck.rules"
            self.assertEqual(rule.read_bytes(), (ROOT / "packaging/linux/70-vexo-deck.rules").read_bytes())
            self.assertEqual(oct(rule.stat().st_mode & 0o777), "0o644")
            self.assertTrue(os.access(root / place / "bin/VexoDeck", os.X_OK))

    def test_debug_data_is_split_off_and_belongs_to_the_program(self):
        def notes(path, what):
            return subprocess.run(["readelf", "--wide", what, str(path)], check=True, capture_output=True, text=True).stdout

        program = self.install("/usr") / "usr/bin/VexoDeck"
        root = self.install("/usr", "--component", "debug")
        (data,) = (path for path in root.rglob("*") if not path.is_dir())
        self.assertEqual(str(data.relative_to(root)), "usr/lib/debug/VexoDeck.debug")
        self.assertNotIn(".debug_line", notes(program, "--sections"))
        self.assertIn(".gnu_debuglink", notes(program, "--sections"))
        self.assertIn(".debug_line", notes(data, "--sections"))
        ids = [re.search("Build ID: (.*)", notes(path, "--notes")).group(1) for path in (program, data)]
        self.assertEqual(*ids)


if __name__ == "__main__":
    unittest.main()
