"""tools/env with a cache folder of its own, and with stand-ins for what would load packages."""

import fcntl
import os
import pathlib
import re
import shutil
import subprocess
import unittest

from scripts import ROOT, ScriptCase
from stage import wait_until

ENV = ROOT / "tools" / "env"
OLD_QT = "6.4.2"
NEW_QT = "6.8.2"
MIRROR = "the distribution's package mirror could not be reached: check the network connection, then run the command again"


class EnvCase(ScriptCase):
    qt = OLD_QT

    def setUp(self):
        super().setUp()
        self.cache = self.folder / "cache"
        self.env["VEXO_CACHE"] = str(self.cache)
        self.stub("id", "echo 0")
        self.free_mb(100000)
        self.stub("apt-get")
        self.stub("qtpaths6", f"echo {self.qt}")

    def free_mb(self, count):
        self.stub("df", "echo Filesystem 1048576-blocks Used Available", f"echo disk 0 0 {count} 0% /")

    def use(self, *words, **more):
        return self.run_script(ENV, *words, **more)

    def assert_refused(self, result, sentence):
        """The command failed with this sentence and nothing else."""
        self.assertEqual(result.returncode, 1, result.stderr)
        self.assertEqual(result.stderr.splitlines()[-1], f"env: {sentence}")
        self.assertNotIn("line ", result.stderr, "a message of the shell")


class Creation(EnvCase):
    """The private root, up to the point where the loaded programs would run in it."""

    def setUp(self):
        super().setUp()
        self.stub("debootstrap", 'mkdir -p "${@: -1}"/etc/apt/apt.conf.d "${@: -1}"/usr/sbin',
                  "[ -z \"$GATE\" ] || until [ -e \"$GATE\" ]; do sleep 0.05; done")
        self.stub("unshare")
        self.root = pathlib.Path(self.use("--where").stdout.strip())
        self.calls.write_text("")

    def creations(self):
        return [call for call in self.called() if call.startswith("debootstrap")]

    def test_a_root_is_made_once(self):
        result = self.use("--prepare")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertTrue(self.root.is_dir())
        self.assertEqual(self.root.parent, self.cache)
        self.assertEqual(self.use("--prepare").returncode, 0)
        self.assertEqual(len(self.creations()), 1)
        # The second step got every package of the list.
        listed = [line.split("#")[0].strip() for line in (ROOT / "tools" / "packages.txt").read_text().splitlines()]
        second = next(call for call in " ".join(self.called()).split("unshare ") if "apt-get update" in call)
        for package in filter(None, listed):
            self.assertIn(f" {package}", second)

    def test_two_commands_at_once_make_one_root(self):
        self.env["GATE"] = str(self.folder / "gate")
        first = self.start_script(ENV, "--prepare")
        wait_until(self.creations, "the first creation")
        second = self.start_script(ENV, "--prepare")
        self.assertIn("waiting for another command", second.stdout.readline())
        (self.folder / "gate").touch()
        for process in (first, second):
            self.assertEqual(process.wait(60), 0, process.stdout.read())
        self.assertTrue(self.root.is_dir())
        self.assertEqual(len(self.creations()), 1)

    def test_what_a_cut_off_creation_left_is_replaced(self):
        left = pathlib.Path(f"{self.root}.partial") / "half"
        left.mkdir(parents=True)
        result = self.use("--prepare")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("removing what an interrupted creation left", result.stderr)
        self.assertFalse(left.parent.exists())
        self.assertFalse((self.root / "half").exists())

    def test_a_creation_that_fails_is_made_anew(self):
        self.stub("unshare", "exit 1")
        self.assertEqual(self.use("--prepare").returncode, 1)
        self.assertFalse(self.root.exists())
        self.stub("unshare")
        self.assertEqual(self.use("--prepare").returncode, 0)
        self.assertTrue(self.root.is_dir())

    def test_former_roots_go_unless_a_command_runs_in_them(self):
        used, unused = self.cache / "root-0123456789ab", self.cache / "root-ba9876543210"
        used.mkdir(parents=True)
        unused.mkdir()
        with open(f"{used}.lock", "w", encoding="utf-8") as lock:
            fcntl.flock(lock, fcntl.LOCK_SH)
            self.assertEqual(self.use("--prepare").returncode, 0)
            self.assertTrue(used.is_dir())
            self.assertFalse(unused.exists())

    def renewals(self):
        return [call for call in " ".join(self.called()).split("unshare ") if "dist-upgrade" in call]

    def test_the_packages_of_a_root_are_renewed(self):
        self.use("--prepare")
        self.calls.write_text("")
        result = self.use("--update")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(self.creations(), [])
        self.assertEqual(len(self.renewals()), 1)
        self.assertRegex(self.renewals()[0], r"apt-get update && dpkg --configure -a .*dist-upgrade")
        self.assertEqual(result.stderr.splitlines()[-1], "env: the build environment is up to date")

    def test_where_there_is_no_root_its_renewal_makes_one(self):
        result = self.use("--update")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertTrue(self.root.is_dir())
        self.assertEqual(len(self.creations()), 1)
        self.assertEqual(len(self.renewals()), 1)

    def test_a_root_is_renewed_when_no_command_runs_in_it(self):
        self.use("--prepare")
        self.calls.write_text("")
        with open(f"{self.root}.lock", "w", encoding="utf-8") as lock:
            fcntl.flock(lock, fcntl.LOCK_SH)
            update = self.start_script(ENV, "--update")
            self.assertIn("waiting for the commands that run in the build environment", update.stdout.readline())
            self.assertEqual(self.renewals(), [])
        self.assertEqual(update.wait(60), 0, update.stdout.read())
        self.assertEqual(len(self.renewals()), 1)

    def test_a_renewal_that_fails_leaves_the_root(self):
        self.use("--prepare")
        self.stub("unshare", "echo \"Err: Could not resolve 'mirror'\"", "exit 1")
        self.assert_refused(self.use("--update"), f"{MIRROR} (log: {self.cache}/env.log).")
        self.assertTrue(self.root.is_dir())
        self.stub("id", "echo 1000")
        self.assert_refused(self.use("--update"),
                            "renewing the build environment needs root: run the command again with sudo.")

    def test_without_root_it_says_so(self):
        self.stub("id", "echo 1000")
        self.assert_refused(self.use("--prepare"),
                            "creating the build environment needs root: run the command again with sudo.")
        self.assertEqual(self.creations(), [])

    def test_too_full_a_disk_is_told_before_anything_is_loaded(self):
        self.free_mb(6999)
        self.assert_refused(self.use("--prepare"),
                            f"the build environment needs 7000 MB in {self.cache}, and 6999 MB are free: make room there, "
                            "or set VEXO_CACHE to a folder with more.")
        self.assertEqual(self.creations(), [])
        self.free_mb(7000)
        self.assertEqual(self.use("--prepare").returncode, 0)

    def test_a_disk_that_fills_up_is_told(self):
        self.stub("debootstrap", "echo 'E: cannot write: No space left on device'", "exit 1")
        self.assert_refused(self.use("--prepare"), f"the disk is full: make room for {self.cache} and /usr, then run the "
                                                   f"command again (log: {self.cache}/env.log).")

    def test_a_mirror_out_of_reach_is_told(self):
        self.stub("debootstrap", "echo 'E: Failed getting release file http://mirror/Release'", "exit 1")
        self.assert_refused(self.use("--prepare"), f"{MIRROR} (log: {self.cache}/env.log).")
        self.stub("debootstrap", 'mkdir -p "${@: -1}"/etc/apt/apt.conf.d "${@: -1}"/usr/sbin')
        self.stub("unshare", "echo \"Err: Could not resolve 'mirror'\"", "exit 1")
        self.assert_refused(self.use("--prepare"), f"{MIRROR} (log: {self.cache}/env.log).")

    def test_a_cache_folder_that_cannot_be_made_is_told(self):
        self.env["VEXO_CACHE"] = "/proc/cache"
        self.assert_refused(self.use("--prepare"),
                            "the cache folder /proc/cache cannot be created: set VEXO_CACHE to a folder that can be written.")


class Entering(EnvCase):
    """A root that holds a shell, entered as it is by every command."""

    def setUp(self):
        super().setUp()
        if os.geteuid() != 0:
            self.skipTest("entering a root needs root")
        self.root = pathlib.Path(self.use("--where").stdout.strip())
        for name in ("proc", "sys", "dev", "etc", "tmp", "run"):
            (self.root / name).mkdir(parents=True)
        shell = pathlib.Path("/bin/sh")
        libraries = re.findall(r"/\S+", subprocess.run(["ldd", shell], capture_output=True, text=True, check=True).stdout)
        for file in (shell, *libraries):
            copy = self.root / str(file).lstrip("/")
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(file, copy)
        self.env["HOME"] = str(self.folder / "home")
        (self.folder / "home").mkdir()
        # If the test itself runs inside a private root, "/" is not a mount and cannot be made private. All mounts are
        # private there already.
        if subprocess.run(["unshare", "--mount", "--propagation", "private", "true"], capture_output=True).returncode != 0:
            self.stub("unshare", 'for word; do [ "$word" = private ] && words+=(unchanged) || words+=("$word"); done',
                      'exec /usr/bin/unshare "${words[@]}"')

    @staticmethod
    def mounts():
        return pathlib.Path("/proc/self/mountinfo").read_text(encoding="utf-8")

    def inside(self, command, before="true"):
        """Runs a command of the shell in the root; `before` is run in the same place, with mounts of its own."""
        result = self.run_script("unshare", "--mount", "--propagation", "private", "--", "sh", "-c",
                                 f'{before} && exec "$@"', "sh", ENV, "sh", "-c", command)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout

    def test_a_command_runs_where_it_was_called_and_gives_its_code(self):
        result = self.use("sh", "-c", 'pwd; echo "$VEXO_ENV"; exit 7', cwd=self.folder)
        self.assertEqual(result.returncode, 7, result.stderr)
        self.assertEqual(result.stdout.splitlines(), [str(self.folder), str(self.root)])

    def test_no_mount_stays(self):
        before = self.mounts()
        seen = self.use("sh", "-c", 'while read -r line; do echo "$line"; done < /proc/self/mountinfo').stdout
        self.assertIn(" /proc ", seen)
        self.assertEqual(self.mounts(), before)

    def test_no_mount_of_a_command_that_is_killed_stays(self):
        before = self.mounts()
        started = self.folder / "started"
        os.mkfifo(self.folder / "fifo")
        process = self.start_script(ENV, "sh", "-c", f"echo > {started}; read -r line < {self.folder / 'fifo'}")
        wait_until(started.exists, "the command to run")
        os.killpg(process.pid, 9)
        process.wait(20)
        self.assertEqual(self.mounts(), before)

    def test_a_command_inside_is_run_as_it_is(self):
        self.env["VEXO_ENV"] = "elsewhere"
        self.assertEqual(self.use("--where").stdout, "elsewhere\n")
        self.assertEqual(self.use("sh", "-c", "echo here").stdout, "here\n")

    def test_the_key_of_the_display_is_seen_wherever_it_lies(self):
        self.env["XAUTHORITY"] = "/mnt/somebody/.Xauthority"
        seen = self.inside('read -r line < "$XAUTHORITY"; echo "$line"',
                           "mount -t tmpfs none /mnt && mkdir /mnt/somebody && echo key > /mnt/somebody/.Xauthority")
        self.assertEqual(seen, "key\n")

    def test_a_key_of_the_display_that_is_not_there_is_no_matter(self):
        self.env["XAUTHORITY"] = "/mnt/nobody/.Xauthority"
        self.assertEqual(self.inside("echo here"), "here\n")

    def test_files_that_this_system_lacks_are_no_matter(self):
        self.assertEqual(self.inside("echo here", "mount -t tmpfs none /etc"), "here\n")
        for name in ("hosts", "resolv.conf", "localtime"):
            seen = self.inside(f'read -r line < /etc/{name}; echo "$line"',
                               f"mount -t tmpfs none /etc && echo {name} of here > /etc/{name}")
            self.assertEqual(seen, f"{name} of here\n")

    def test_a_command_runs_in_the_root_folder_too(self):
        (self.root / "mark").touch()
        self.assertEqual(self.use("sh", "-c", "pwd; echo mark*", cwd="/").stdout, "/\nmark\n")

    def test_under_sudo_a_command_is_that_of_the_caller_where_it_is_asked_for(self):
        home = self.folder / "home of a friend"
        home.mkdir()
        (home / "letter").write_text("dear\n")
        for folder in (self.folder, home):
            folder.chmod(0o755)
        self.stub("getent", f"echo 'friend:x:4711:4712::{home}:/bin/zsh'")
        self.stub("id", 'if [ "$1" = -G ]; then echo 4712 29; else echo 0; fi')
        self.env["SUDO_UID"] = "4711"
        who = ('while read -r key value rest; do case $key in Uid: | Gid: | Groups:) echo $key $value $rest ;; esac; done '
               '< /proc/self/status; echo "$HOME $USER"; read -r line < "$HOME/letter"; echo "$line"; '
               'while read -r line; do echo "$line"; done < /etc/passwd')
        for _ in range(2):
            result = self.use("--as-caller", "sh", "-c", who, cwd="/")
            self.assertEqual(result.stdout.splitlines(), [
                "Uid: 4711 4711 4711 4711", "Gid: 4712 4712 4712 4712", "Groups: 29 4712", f"{home} friend", "dear",
                f"friend:x:4711:4712::{home}:/bin/sh"], result.stderr)
        self.assertIn("Uid: 0 0 0 0\n", self.use("sh", "-c", who, cwd="/").stdout)
        del self.env["SUDO_UID"]
        self.assertIn("Uid: 0 0 0 0\n", self.use("--as-caller", "sh", "-c", who, cwd="/").stdout)

    def test_a_caller_whom_this_system_does_not_know_is_told(self):
        self.stub("getent", "exit 2")
        self.env["SUDO_UID"] = "4711"
        self.assert_refused(self.use("--as-caller", "sh", "-c", "echo here"),
                            "the user 4711, who called sudo, is not known to this system.")

    def test_what_lies_in_the_folder_of_a_user_is_seen(self):
        # The folder is a mount of its own below /run/user.
        seen = self.inside("read -r line < /run/user/4242/wayland-0; echo \"$line\"",
                           "mount -t tmpfs none /run && mkdir -p /run/user/4242 && mount -t tmpfs none /run/user/4242 && "
                           "echo socket > /run/user/4242/wayland-0")
        self.assertEqual(seen, "socket\n")


class System(EnvCase):
    """A system whose own Qt is new enough."""

    qt = NEW_QT

    def setUp(self):
        super().setUp()
        self.installed = self.folder / "installed"
        self.installed.touch()
        self.stub("dpkg-query", f"sed 's/$/ installed/' {self.installed}", "echo removed deinstalled", "exit 1")
        self.stub("apt-get", f'case " $* " in *" install "*) printf "%s\\n" "$@" >> {self.installed} ;; esac')

    def package_runs(self):
        return [call for call in self.called() if call.startswith("apt-get")]

    def test_its_own_packages_are_used(self):
        self.assertEqual(self.use("--where").stdout, "system\n")
        result = self.use("sh", "-c", 'echo "$VEXO_ENV"')
        self.assertEqual((result.returncode, result.stdout), (0, "system\n"), result.stderr)
        # Old lists may name packages that are gone.
        self.assertEqual([" install " in run for run in self.package_runs()], [False, True])
        self.assertEqual(self.package_runs()[0], "apt-get update")
        self.assertIn("DPkg::Lock::Timeout=", self.package_runs()[1])

    def test_under_sudo_a_command_is_that_of_the_caller_where_it_is_asked_for(self):
        self.stub("getent", f"echo 'friend:x:4711:4712::{self.folder}:/bin/sh'")
        self.stub("id", 'if [ "$1" = -G ]; then echo 4712 29; else echo 0; fi')
        self.stub("chroot", 'echo "$HOME $VEXO_ENV"')
        self.env["SUDO_UID"] = "4711"
        self.assertEqual(self.use("--as-caller", "true").stdout, f"{self.folder} system\n")
        self.assertEqual(self.called()[-1], "chroot --userspec=+4711:+4712 --groups=4712,29 --skip-chdir / true")
        self.calls.write_text("")
        self.assertEqual(self.use("true").returncode, 0)
        self.assertFalse(any(call.startswith("chroot") for call in self.called()))

    def test_its_packages_are_renewed_by_the_system_itself(self):
        result = self.use("--update")
        self.assertEqual((result.returncode, result.stderr),
                         (0, "env: the packages are those of this system: renew them as all others of it\n"))
        self.assertEqual(self.package_runs(), [])

    def test_what_is_there_is_not_installed_again(self):
        self.use("--prepare")
        self.calls.write_text("")
        self.assertEqual(self.use("--prepare").returncode, 0)
        self.assertEqual(self.package_runs(), [])

    def test_two_commands_at_once_install_once(self):
        gate = self.folder / "gate"
        self.stub("apt-get", f'case " $* " in *" install "*) until [ -e {gate} ]; do sleep 0.05; done',
                  f'printf "%s\\n" "$@" >> {self.installed} ;; esac')
        first = self.start_script(ENV, "--prepare")
        wait_until(lambda: len(self.package_runs()) == 2, "the first installation")
        second = self.start_script(ENV, "--prepare")
        self.assertIn("waiting for another command", second.stdout.readline())
        gate.touch()
        for process in (first, second):
            self.assertEqual(process.wait(60), 0, process.stdout.read())
        self.assertEqual(len(self.package_runs()), 2)

    def test_without_root_it_says_so(self):
        self.stub("id", "echo 1000")
        result = self.use("--prepare")
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr, r"\Aenv: installing \d+ packages needs root: run the command again with sudo.\n\Z")
        self.assertEqual(self.package_runs(), [])

    def test_too_full_a_disk_is_told_before_anything_is_loaded(self):
        self.free_mb(59)
        result = self.use("--prepare")
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr, r"\Aenv: the build environment needs \d+ MB in /usr, and 59 MB are free: make room there.\n\Z")
        self.assertEqual(self.package_runs(), [])

    def test_a_mirror_out_of_reach_is_told(self):
        self.stub("apt-get", "echo 'E: Failed to fetch http://mirror/x.deb'", "exit 100")
        self.assert_refused(self.use("--prepare"), f"{MIRROR} (log: {self.cache}/env.log).")

    def test_a_fresh_system_is_asked_for_its_packages_before_it_is_judged(self):
        lists = self.folder / "lists"
        self.stub("qtpaths6", "exit 1")
        self.stub("apt-cache", f"if [ -e {lists} ]; then echo '  Candidate: 6.8.2+dfsg-4'; else echo '  Candidate: (none)'; fi")
        self.stub("apt-get", f'[ "$1" != update ] || touch {lists}')
        self.assertEqual(self.use("--where").stdout, "system\n")
        self.calls.write_text("")
        self.assertEqual(self.use("--where").stdout, "system\n")
        self.assertEqual(self.package_runs(), [])

    def test_a_fresh_system_without_network_gets_no_private_root(self):
        self.stub("qtpaths6", "exit 1")
        self.stub("apt-cache", "echo '  Candidate: (none)'")
        self.stub("apt-get", "echo \"E: Could not resolve 'mirror'\"", "exit 100")
        self.assert_refused(self.use("--prepare"), f"{MIRROR} (log: {self.cache}/env.log).")
        self.assertFalse(any("debootstrap" in call for call in self.called()))


if __name__ == "__main__":
    unittest.main()
