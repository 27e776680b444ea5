"""The inventories of a server and a home folder of one's own: names, order, activity, and the icons as files."""

import pathlib
import struct
import sys

from desktop_files import desktop_entry, png
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
        self.assertEqual(icons[0], self.folder / "VexoDeck" / "icons" / "pacat.png")
        self.assertEqual(icons[1].parent, icons[0].parent)
        for icon in icons:
            wait_until(icon.exists, f"the icon {icon.name}")
            self.assertEqual(self.size_of(icon), (128, 128))
        self.assertNotEqual(*(icon.read_bytes() for icon in icons))

    def test_no_icon_is_written_through_a_link_that_somebody_else_may_have_made(self):
        elsewhere = self.folder / "elsewhere"
        elsewhere.mkdir()
        (self.folder / "VexoDeck").mkdir()
        (self.folder / "VexoDeck" / "icons").symlink_to(elsewhere)
        player = self.sound.play(tone(1000, 2), APPS)
        bridge = self.start_bridge()
        wait_until(lambda: any(entry["processIdentifier"] == str(player.pid) for entry in bridge.call("getRunningApplications")), "the player")
        wait_until(lambda: "All icons extracted" in bridge.log, "the attempt")
        self.assertEqual(list(elsewhere.iterdir()), [])

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

    def icon_of(self, entry):
        return pathlib.Path(entry["iconFilePath"].removeprefix("file://"))

    def size_of(self, path):
        data = path.read_bytes()
        self.assertEqual(data[:8], b"\x89PNG\r\n\x1a\n")
        return struct.unpack(">II", data[16:24])


if __name__ == "__main__":
    main()
