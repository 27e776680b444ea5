"""tools/windows/wine with a cache folder of its own, and with a stand-in for Wine."""

import shutil
import subprocess
import unittest

from scripts import ROOT, ScriptCase


class Wine(ScriptCase):
    def setUp(self):
        super().setUp()
        self.cache = self.folder / "cache"
        self.env["VEXO_CACHE"] = str(self.cache)
        self.env.pop("WINEPREFIX", None)
        self.env.pop("VEXO_ENV", None)
        self.stub("wineboot", 'mkdir -p "$WINEPREFIX"')
        self.stub("wineserver")
        self.stub("wine", 'echo "$WINEPREFIX"')
        self.stub("x86_64-w64-mingw32-g++-posix", "echo /usr/lib/library.dll")
        self.program = self.checkout("one")

    def checkout(self, name):
        program = self.folder / name / "tools" / "windows" / "wine"
        program.parent.mkdir(parents=True)
        shutil.copy(ROOT / "tools" / "windows" / "wine", program)
        return program

    def prefix_of(self, program):
        result = self.run_script(program, "program.exe")
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout.strip()

    def test_each_checkout_has_a_prefix_of_its_own_in_the_cache_folder(self):
        prefixes = [self.prefix_of(program) for program in (self.program, self.checkout("two"))]
        self.assertEqual(len(set(prefixes)), 2)
        for prefix in prefixes:
            self.assertTrue(prefix.startswith(f"{self.cache}/"), prefix)
        self.assertEqual(self.prefix_of(self.program), prefixes[0])
        self.assertEqual([call for call in self.called() if call.startswith("wineboot")], ["wineboot --init"] * 2)

    def test_a_prefix_that_is_named_is_used(self):
        self.env["WINEPREFIX"] = str(self.folder / "named")
        self.assertEqual(self.prefix_of(self.program), self.env["WINEPREFIX"])
        self.assertFalse(self.cache.exists())

    def test_prefixes_of_checkouts_that_are_gone_are_removed(self):
        two = self.checkout("two")
        prefixes = [self.prefix_of(program) for program in (self.program, two)]
        shutil.rmtree(self.folder / "two")
        self.assertEqual(self.run_script(self.program, "--clean").returncode, 0)
        left = sorted(path.parent for path in self.cache.glob("*/*/console"))
        self.assertEqual([f"{path}/console" for path in left], prefixes[:1])
        self.assertEqual(len(list(self.cache.glob("*/*"))), 1)

    def test_inside_the_private_root_nothing_is_removed(self):
        # Other checkouts cannot be seen there.
        two = self.checkout("two")
        self.prefix_of(two)
        shutil.rmtree(self.folder / "two")
        self.env["VEXO_ENV"] = "/the/root"
        self.assertEqual(self.run_script(self.program, "--clean").returncode, 2)
        self.assertEqual(len(list(self.cache.glob("*/*/console"))), 1)

    def test_a_closed_standard_stream_is_refused(self):
        for stream in (0, 1, 2):
            result = subprocess.run(["bash", "-c", f'"$0" program.exe {stream}>&-', self.program], env=self.env,
                                    capture_output=True, text=True, timeout=60)
            self.assertEqual(result.returncode, 2)
            self.assertEqual(result.stdout + result.stderr,
                             f"wine: standard stream {stream} is closed: redirect it to /dev/null instead\n")
        self.assertEqual(self.called(), [])


if __name__ == "__main__":
    unittest.main()
