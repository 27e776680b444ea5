"""The inventories of a server and a home folder of one's own: names, order, activity, and the icons as files."""

import errno
import os
import pathlib
import shutil
import stat
import struct
import sys

from desktop_files import desktop_entry, endless_svg, png
from sound import tone
from sound_case import APPS, SoundCase, main
from stage import wait_until

# A program whose stream is corked, as that of a paused player.
PAUSED = """
import ctypes, sys
pulse = ctypes.CDLL("libpulse.so.0")
class SampleFormat(ctypes.Structure):
    _fields_ = [("format", ctypes.c_int), ("rate", ctypes.c_uint32), ("channels", ctypes.c_uint8)]
for name in ("pa_mainloop_new", "pa_mainloop_get_api", "pa_context_new", "pa_stream_new"):
    getattr(pulse, name).restype = ctypes.c_void_p
pointer = ctypes.c_void_p
mainloop = pointer(pulse.pa_mainloop_new())
context = pointer(pulse.pa_context_new(pointer(pulse.pa_mainloop_get_api(mainloop)), b"Paused Player"))
pulse.pa_context_connect(context, None, 0, None)
while pulse.pa_context_get_state(context) != 4:
    pulse.pa_mainloop_iterate(mainloop, 1, None)
stream = pointer(pulse.pa_stream_new(context, b"tone", ctypes.byref(SampleFormat(5, 48000, 2)), None))
START_CORKED = 1
pulse.pa_stream_connect_playback(stream, sys.argv[1].encode(), None, START_CORKED, None, None)
pulse.pa_mainloop_run(mainloop, None)
"""


class Inventory(SoundCase):
    def setUp(self):
        super().setUp()
        self.env["XDG_DATA_DIRS"] = str(self.folder / "nothing")
        self.write("data/icons/hicolor/index.theme", "[Icon Theme]\nName=hicolor\nDirectories=64x64/apps\n\n"
                                                     "[64x64/apps]\nSize=64\nType=Fixed\n")
        self.write("data/icons/hicolor/64x64/apps/noise.png", png(255, 0, 0, 64))
        self.write("data/icons/hicolor/64x64/apps/application-x-executable.png", png(0, 0, 255, 64))
        applications = {
            "noise": desktop_entry("Noise Maker", "Name[zh_CN]=噪音制造者", "Exec=/usr/bin/pacat %U", "Icon=noise"),
            "faceless": desktop_entry("Faceless", "Exec=faceless", "Icon=of-no-theme"),
            "plain": desktop_entry("Plain", "Exec=plain"),
            "hidden": desktop_entry("Hidden", "Exec=hidden", "NoDisplay=true"),
        }
        for name, text in applications.items():
            self.write(f"data/applications/org.example.{name}.desktop", text)

    def write(self, path, content):
        path = self.folder / path
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content.encode() if isinstance(content, str) else content)

    def test_programs_that_play_have_their_names_activity_and_icons(self):
        player = self.sound.play(tone(1000, 2), APPS, "pacat")
        paused = self.sound.client([sys.executable, "-c", PAUSED, APPS])
        bridge = self.start_bridge(LC_ALL="zh_CN.UTF-8")

        def applications():
            return {int(entry["processIdentifier"]): entry for entry in bridge.call("getRunningApplications") if entry.get("type") == "app"}

        wait_until(lambda: applications().keys() == {player.pid, paused.pid}, "both programs")
        found = applications()
        self.assertEqual([found[pid]["name"] for pid in (player.pid, paused.pid)], ["噪音制造者", "Paused Player"])
        self.assertEqual([found[pid]["isActive"] for pid in (player.pid, paused.pid)], [True, False])
        self.assertEqual(found[player.pid]["bundleIdentifier"], "file:///usr/bin/pacat")
        icons = [self.icon_of(found[pid]) for pid in (player.pid, paused.pid)]
        self.assertEqual(icons[0], self.folder / "cache" / "VexoDeck" / "icons" / "pacat.png")
        self.assertEqual(icons[1].parent, icons[0].parent)
        for icon in icons:
            wait_until(icon.exists, f"the icon {icon.name}")
            self.assertEqual(self.size_of(icon), (128, 128))
        self.assertNotEqual(*(icon.read_bytes() for icon in icons))
        # They are nobody else's.
        for path in (icons[0], icons[0].parent, icons[0].parent.parent):
            self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o600 if path == icons[0] else 0o700, path)
        self.assertFalse((self.folder / "VexoDeck").exists(), "a folder for all users")
        # And no file stays beside them. A later list may have found an icon missing that was just being made.
        wait_until(lambda: sorted(icons[0].parent.iterdir()) == sorted(icons), "the last icon to have its name")

    def test_no_icon_is_written_through_a_link_that_somebody_else_may_have_made(self):
        player = self.sound.play(tone(1000, 2), APPS)
        for link in ("VexoDeck", "VexoDeck/icons"):
            elsewhere = self.folder / f"elsewhere of {link.replace('/', ' ')}"
            elsewhere.mkdir()
            (self.folder / "cache" / link).parent.mkdir(parents=True, exist_ok=True)
            (self.folder / "cache" / link).symlink_to(elsewhere)
            bridge = self.start_bridge()
            wait_until(lambda: self.entry_of(bridge, player), "the player")
            wait_until(lambda: "All icons extracted" in bridge.log, "the attempt")
            self.assertEqual(list(elsewhere.iterdir()), [], link)
            self.assertEqual(bridge.end(), 0)
            (self.folder / "cache" / link).unlink()

    def test_a_client_of_the_server_names_an_icon_and_no_file(self):
        self.write("secret.png", png(255, 255, 0, 64))
        os.mkfifo(self.folder / "pipe.png")
        named, *nameless = [self.play_as(name, icon) for name, icon in (
            ("named", "noise"), ("path", self.folder / "secret.png"), ("pipe", self.folder / "pipe.png"),
            ("climbing", "../../../../secret"), ("none", "no-such-icon"))]
        bridge = self.start_bridge()
        for player in (named, *nameless):
            wait_until(lambda player=player: self.entry_of(bridge, player), "the programs")
        icons = [self.icon_of(self.entry_of(bridge, player)) for player in (named, *nameless)]
        for icon in icons:
            wait_until(icon.exists, f"the icon {icon.name}")
        noise, *others = [icon.read_bytes() for icon in icons]
        self.assertNotIn(noise, others)
        self.assertEqual(others, others[-1:] * len(others), "the icon of any program")
        with self.assertRaises(OSError) as nobody_reads:
            os.open(self.folder / "pipe.png", os.O_WRONLY | os.O_NONBLOCK)
        self.assertEqual(nobody_reads.exception.errno, errno.ENXIO)

    def test_a_picture_that_takes_for_ever_holds_neither_other_icons_nor_the_end(self):
        self.write("endless.svg", endless_svg())
        for number in range(3):
            self.write(f"data/applications/org.example.endless{number}.desktop",
                       desktop_entry("Endless", f"Exec=endless{number}", f"Icon={self.folder / 'endless.svg'}"))
        players = [self.play_as(f"endless{number}", "") for number in range(3)]
        other = self.play_as("other", "noise")
        bridge = self.start_bridge()
        for player in (*players, other):
            wait_until(lambda player=player: self.entry_of(bridge, player), "the programs")
        wait_until(self.icon_of(self.entry_of(bridge, other)).exists, "the other program's icon")
        # In its place there is the icon of any program.
        for player in players:
            wait_until(self.icon_of(self.entry_of(bridge, player)).exists, "an icon")
        self.assertEqual(bridge.log.count("Icon left out, it cannot be read in time:"), 1)
        self.assertEqual(bridge.end(), 0)
        # Nor when the program ends before that.
        shutil.rmtree(self.folder / "cache" / "VexoDeck")
        bridge = self.start_bridge()
        wait_until(lambda: self.entry_of(bridge, players[0]), "the program")
        self.assertEqual(bridge.end(), 0)
        self.assertNotIn("Icons are still being made", bridge.log)

    def test_entries_that_are_no_files_hold_nobody(self):
        os.mkfifo(self.folder / "data" / "applications" / "org.example.pipe.desktop")
        (self.folder / "data" / "applications" / "org.example.link.desktop").symlink_to("/dev/zero")
        self.write("data/applications/org.example.long.desktop", desktop_entry("Long", "Exec=long", "#" * (1 << 20)))
        bridge = self.start_bridge()
        programs = [program["name"] for program in bridge.call("getRunningApplicationsByQt")]
        self.assertEqual(sorted(programs[1:]), ["Faceless", "Noise Maker", "Plain"])
        self.assertEqual(bridge.end(), 0)

    def test_installed_programs_follow_the_browser_and_get_their_icons(self):
        bridge = self.start_bridge(LC_ALL="zh_CN.UTF-8")
        programs = bridge.call("getRunningApplicationsByQt")
        self.assertTrue(programs[0]["isSystemBrowser"])
        self.assertEqual(sorted(program["name"] for program in programs[1:]), ["Faceless", "Plain", "噪音制造者"])
        by_name = {program["name"]: program for program in programs}
        self.assertNotIn("iconFilePath", by_name["Plain"])
        icon = self.icon_of(by_name["噪音制造者"])
        self.assertEqual(icon, self.folder / "data" / "VEXO" / "Vexo Deck" / "app_icons" / "org_example_noise.png")
        wait_until(icon.exists, "the icon")
        self.assertEqual(self.size_of(icon), (128, 128))
        wait_until(lambda: '未能生成图标: "Faceless"' in bridge.log, "the icon that no theme has to be missed")
        self.assertFalse(self.icon_of(by_name["Faceless"]).exists())

    def play_as(self, name, icon):
        """A program of this name that plays, and names an icon of its own to the server."""
        program = self.folder / name
        shutil.copy(shutil.which("pacat"), program)
        return self.sound.play(tone(1000, 2), APPS, name, program=program, properties=[f"application.icon_name={icon}"])

    @staticmethod
    def entry_of(bridge, player):
        """The entry of a program that plays; None while it is not listed."""
        entries = bridge.call("getRunningApplications")
        return next((entry for entry in entries if entry["processIdentifier"] == str(player.pid)), None)

    def icon_of(self, entry):
        return pathlib.Path(entry["iconFilePath"].removeprefix("file://"))

    def size_of(self, path):
        data = path.read_bytes()
        self.assertEqual(data[:8], b"\x89PNG\r\n\x1a\n")
        return struct.unpack(">II", data[16:24])


if __name__ == "__main__":
    main()
