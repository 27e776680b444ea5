"""Programs in pid namespaces, as those in a sandbox: the number that they know themselves by stands for another process
out here. On PulseAudio and on PipeWire, there also without its Pulse server."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import numpy

from bridge_host import source
from desktop_files import desktop_entry, png
from sound import PIPEWIRE, held_level_db, level_db, tone
from sound_case import APPS, SIMPLE_CLIENT, SPEAKERS, SoundCase, main
from stage import wait_until

TONE = 1000
OTHER_TONE = 3000
VOICE = 500
AMPLITUDE = 0.25
LEVEL_DB = 20 * numpy.log10(AMPLITUDE)
# A tone below this level counts as gone.
GONE_DB = LEVEL_DB - 60
MICROPHONE = "Desk Microphone"

NAMESPACE = ["unshare", "--pid", "--fork", "--kill-child"]
if os.geteuid() != 0:
    NAMESPACE[1:1] = ["--user", "--map-root-user"]
# The shell is 1 in its namespace, the program 2, and whatever it starts 3.
SECOND = '"$@" & wait'


# A program that plays a tone from inside of another root folder.
CONFINED = SIMPLE_CLIENT + """
import array, math, os, sys
sample_format = SampleFormat(5, 48000, 2)
stream = pulse.pa_simple_new(None, b"confined", 1, sys.argv[1].encode(), b"tone", ctypes.byref(sample_format), None, None, None)
os.chroot(sys.argv[2])
block = array.array("f")
for frame in range(4800):
    value = 0.25 * math.sin(2 * math.pi * float(sys.argv[3]) * frame / 48000)
    block.extend((value, value))
data = block.tobytes()
while True:
    pulse.pa_simple_write(stream, data, len(data), None)
"""


def children_of(process_id):
    return [int(child) for child in pathlib.Path(f"/proc/{process_id}/task/{process_id}/children").read_text().split()]


class Sandboxes(SoundCase):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        if subprocess.run([*NAMESPACE, "true"], capture_output=True).returncode != 0:
            raise unittest.SkipTest("this machine makes no pid namespaces")

    def make_devices(self):
        super().make_devices()
        self.sound.add_microphone("mic", MICROPHONE)
        self.keep_applications_apart()

    def setUp(self):
        super().setUp()
        self.env["XDG_DATA_DIRS"] = str(self.folder / "nothing")
        self.speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(self.speakers.stop)

    def sandbox(self, *command):
        """Runs a command as process 2 of a pid namespace of its own; its process id out here."""
        outside = self.sound.client([*NAMESPACE, "sh", "-c", SECOND, "sh", *command])

        def program():
            at = [outside.pid]
            for _ in range(2):
                at = [child for process_id in at for child in children_of(process_id)]
            return at[0] if at and os.readlink(f"/proc/{at[0]}/exe") != os.path.realpath("/bin/sh") else None

        process_id = wait_until(program, f"{command[0]} to run")
        status = pathlib.Path(f"/proc/{process_id}/status").read_text()
        self.assertIn(f"NSpid:\t{process_id}\t2\n", status)
        return process_id

    def play_in_sandbox(self, frequency, program="pacat"):
        path = self.folder / f"{frequency}.raw"
        path.write_bytes(tone(frequency, 120, AMPLITUDE).tobytes())
        return self.sandbox(program, "--playback", "--raw", "--format=float32le", "--rate=48000", "--channels=2",
                            "--latency-msec=20", f"--device={APPS}", path)

    def applications(self, bridge):
        return {int(entry["processIdentifier"]): entry for entry in bridge.call("getRunningApplications") if entry.get("type") == "app"}

    def wait_alone(self, frequency, *gone):
        self.wait_heard(self.speakers,
                        lambda heard: abs(level_db(heard, frequency) - LEVEL_DB) < 0.1 and
                        all(held_level_db(heard, other) < GONE_DB for other in gone),
                        f"{frequency} Hz alone")

    def write(self, path, content):
        path = self.folder / path
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content.encode() if isinstance(content, str) else content)

    def test_program_is_listed_and_captured_by_its_process_out_here(self):
        program = self.play_in_sandbox(TONE)
        bridge = self.start_bridge()
        wait_until(lambda: self.applications(bridge), "the program in the list")
        self.assertEqual(list(self.applications(bridge)), [program])
        bridge.route(source(program))
        self.wait_alone(TONE)

    def test_two_programs_of_one_number_are_two_with_their_own_names_and_icons(self):
        programs = {}
        self.install_programs()
        for name, frequency in (("alpha", TONE), ("beta", OTHER_TONE)):
            shutil.copy(shutil.which("pacat"), self.folder / name)
            programs[name] = self.play_in_sandbox(frequency, self.folder / name)
        self.check_both(programs)

    def test_two_applications_of_one_interpreter_are_two_with_their_own_names_and_icons(self):
        if os.geteuid() != 0:
            self.skipTest("only root changes its root folder")
        programs = {}
        self.install_programs()
        # In memory, as the root of a Flatpak is.
        roots = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="vexo-roots-", dir="/dev/shm")))
        for name, frequency in (("alpha", TONE), ("beta", OTHER_TONE)):
            self.write(roots / name / ".flatpak-info", f"[Application]\nname=org.example.{name}\n")
            programs[name] = self.sandbox(sys.executable, "-c", CONFINED, APPS, roots / name, str(frequency))
            wait_until(lambda: self.sound.pactl("list", "short", "sink-inputs").count("\n") == len(programs), "it to play")
            wait_until(lambda: os.readlink(f"/proc/{programs[name]}/root") != "/", "it to be confined")
        self.check_both(programs)

    def install_programs(self):
        self.write("data/icons/hicolor/index.theme", "[Icon Theme]\nName=hicolor\nDirectories=64x64/apps\n\n"
                                                     "[64x64/apps]\nSize=64\nType=Fixed\n")
        for name, colour in (("alpha", (255, 0, 0)), ("beta", (0, 0, 255))):
            self.write(f"data/icons/hicolor/64x64/apps/{name}.png", png(*colour, 64))
            self.write(f"data/applications/org.example.{name}.desktop", desktop_entry(name.title(), f"Exec={name}", f"Icon={name}"))

    def check_both(self, programs):
        """The programs alpha and beta, by their names, are listed and heard, each as itself."""
        bridge = self.start_bridge()
        wait_until(lambda: len(self.applications(bridge)) == 2, "both programs in the list")
        found = self.applications(bridge)
        self.assertEqual({process_id: entry["name"] for process_id, entry in found.items()},
                         {programs["alpha"]: "Alpha", programs["beta"]: "Beta"})
        self.assertNotEqual(*(entry["bundleIdentifier"] for entry in found.values()))
        icons = [pathlib.Path(found[process_id]["iconFilePath"].removeprefix("file://")) for process_id in programs.values()]
        for icon in icons:
            wait_until(icon.exists, f"the icon {icon.name}")
        self.assertNotEqual(*(icon.read_bytes() for icon in icons))
        bridge.route(source(programs["alpha"]))
        self.wait_alone(TONE, OTHER_TONE)
        bridge.route(source(programs["beta"]))
        self.wait_alone(OTHER_TONE, TONE)

    def check_told_apart(self, programs):
        """Two programs that play TONE and OTHER_TONE: each is listed, and heard alone."""
        bridge = self.start_bridge()
        wait_until(lambda: len(self.applications(bridge)) == 2, "both in the list")
        self.assertEqual(sorted(self.applications(bridge)), sorted(programs))
        bridge.route(source(programs[0]))
        self.wait_alone(TONE, OTHER_TONE)
        bridge.route(source(programs[1]))
        self.wait_alone(OTHER_TONE, TONE)

    def test_two_runs_of_one_program_are_two(self):
        programs = []
        for frequency in (TONE, OTHER_TONE):
            programs.append(self.play_in_sandbox(frequency))
            wait_until(lambda: self.sound.pactl("list", "short", "sink-inputs").count("\n") == len(programs), "it to play")
        self.check_told_apart(programs)

    def test_muted_microphone_stays_muted_beside_a_program_of_its_number(self):
        speaker = self.sound.play(tone(VOICE, 2, AMPLITUDE), "mic_in", "speaker")
        program = self.play_in_sandbox(TONE)
        bridge = self.start_bridge()
        wait_until(lambda: len(self.applications(bridge)) == 2, "both programs in the list")
        self.assertEqual(set(self.applications(bridge)), {speaker.pid, program})
        self.assertTrue(bridge.call("AddInputDevice", MICROPHONE, 2))
        bridge.route(source(2))
        self.wait_alone(VOICE, TONE)
        bridge.route(source(2, muted1=True, muted2=True), source(program))
        self.wait_alone(TONE, VOICE)

    def test_programs_of_pipewire_itself_are_told_apart(self):
        if self.kind != PIPEWIRE:
            self.skipTest("there is no PipeWire")
        programs = []
        for frequency in (TONE, OTHER_TONE):
            path = self.folder / f"{frequency}.wav"
            subprocess.run(["sox", "-n", "-r", "48000", "-e", "floating-point", "-b", "32", "-c", "2", path, "synth", "120",
                            "sine", str(frequency), "vol", str(AMPLITUDE)], check=True)
            programs.append(self.sandbox("pw-play", f"--target={APPS}", path))
        self.check_told_apart(programs)


if __name__ == "__main__":
    main()
