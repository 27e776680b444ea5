"""tools/windows/sdk in a tree of its own: which archive it unpacks."""

import hashlib
import shutil
import subprocess
import unittest

from scripts import ROOT, ScriptCase


class WindowsSdk(ScriptCase):
    def setUp(self):
        super().setUp()
        self.env["VEXO_CACHE"] = str(self.folder / "cache")
        self.tree = self.folder / "tree"
        for name in ("sdk", "wine"):
            (self.tree / "tools" / "windows").mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / "tools" / "windows" / name, self.tree / "tools" / "windows" / name)
        self.script(self.tree / "tools" / "env", '"$@"')
        self.link = self.tree / "build" / "windows-sdk"
        self.archive = self.folder / "sdk" / "windows-x86_64-mingw.tar.xz"
        self.env["VEXO_WINDOWS_SDK"] = str(self.archive.parent)

    def pack(self, content):
        """Makes the archive; its checksum."""
        source = self.folder / "source"
        source.mkdir(exist_ok=True)
        (source / "library").write_text(content, encoding="utf-8")
        self.archive.parent.mkdir(exist_ok=True)
        subprocess.run(["tar", "-cJf", self.archive, "-C", source, "library"], check=True)
        return hashlib.sha256(self.archive.read_bytes()).hexdigest()

    def trust(self, *checksums):
        lines = ["# Those that are known.", *(f"{checksum}  windows-x86_64-mingw.tar.xz" for checksum in checksums)]
        (self.tree / "tools" / "windows" / "sdk.sha256").write_text("\n".join(lines) + "\n", encoding="utf-8")

    def unpack(self):
        return self.run_script(self.tree / "tools" / "windows" / "sdk")

    def test_an_archive_that_is_known_is_unpacked_once(self):
        self.trust("0" * 64, self.pack("first"))
        for said in (True, False):
            result = self.unpack()
            self.assertEqual((result.returncode, "unpacking" in result.stdout), (0, said), result.stderr)
            self.assertEqual((self.link / "library").read_text(encoding="utf-8"), "first")
        self.assertEqual([path.name for path in (self.folder / "cache").iterdir() if path.is_file() and path.stat().st_size], [])

    def test_another_archive_is_refused_and_nothing_of_it_is_unpacked(self):
        known = self.pack("first")
        self.trust(known)
        self.unpack()
        other = self.pack("second")
        result = self.unpack()
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertEqual(result.stderr, f"windows: {self.archive} is not unpacked: its checksum {other} is not in "
                                        "tools/windows/sdk.sha256\n")
        self.assertFalse(self.link.exists())
        self.assertEqual([path.name for path in (self.folder / "cache").iterdir() if path.is_dir()],
                         [f"windows-sdk-{known[:12]}"])

    def test_a_checksum_in_a_comment_is_not_known(self):
        checksum = self.pack("first")
        self.trust(f"# {checksum}")
        self.assertEqual(self.unpack().returncode, 1)

    def test_no_archive_is_told_and_is_no_fault(self):
        self.trust()
        result = self.unpack()
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("no Qt for Windows at", result.stdout)

    def test_the_list_of_the_tree_holds_checksums_alone(self):
        lines = (ROOT / "tools" / "windows" / "sdk.sha256").read_text(encoding="utf-8").splitlines()
        listed = [line for line in lines if not line.startswith("#")]
        self.assertTrue(listed)
        for line in listed:
            self.assertRegex(line, r"^[0-9a-f]{64}  windows-x86_64-mingw\.tar\.xz$")


if __name__ == "__main__":
    unittest.main()
