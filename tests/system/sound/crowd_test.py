"""Many programs at once through the bridge. They keep a whole machine busy."""

import numpy

from bridge_host import source
from sound import PIPEWIRE, highest_level_db, tone
from sound_case import APPS, SPEAKERS, SoundCase, main
from stage import wait_until

AMPLITUDE = 0.25
LEVEL_DB = 20 * numpy.log10(AMPLITUDE)
TONE = 1000
MICROPHONE = "Desk Microphone"


class Crowd(SoundCase):
    def make_devices(self):
        super().make_devices()
        self.sound.add_microphone("mic", MICROPHONE)
        self.keep_applications_apart()

    def test_fifty_programs_are_listed_and_captured_at_once(self):
        # PulseAudio mixes the first 32 streams of a sink, so this one comes first.
        heard_player = self.sound.play(tone(TONE, 2, AMPLITUDE), APPS)
        players = []
        path = self.folder / "quiet.raw"
        with open(path, "wb") as quiet:
            quiet.truncate(600 * 48000 * 8)  # 10 minutes of silence
        for number in range(49):
            if number % 4 == 0:
                # PulseAudio refuses a client while 5 others are connecting.
                wait_until(lambda: len(self.sound.pactl("list", "short", "sink-inputs").splitlines()) > len(players),
                           f"{len(players) + 1} programs to play")
            players.append(self.sound.client(["pacat", "--raw", "--format=float32le", "--rate=48000", "--channels=2",
                                              f"--device={APPS}", path]))
        bridge = self.start_bridge()
        wanted = {str(player.pid) for player in [*players, heard_player]}

        def listed():
            return {entry["processIdentifier"] for entry in bridge.call("getRunningApplications") if entry.get("type") == "app"}

        wait_until(lambda: listed() >= wanted, "every playing program in the list")
        self.assertEqual(listed(), wanted)
        routed = sorted(map(int, wanted))
        speakers = self.sound.recorder(SPEAKERS)
        self.addCleanup(speakers.stop)
        bridge.route(*map(source, routed))
        wait_until(lambda: self.sound.pactl("list", "source-outputs").count('media.name = "Vexo Deck capture"') == len(routed),
                   f"{len(routed)} captures")
        # Under this load the player itself has dropouts. A piece of 20 ms between two of them is enough.
        self.wait_heard(speakers, lambda heard: abs(highest_level_db(heard, TONE) - LEVEL_DB) < 0.1, "the application")
        self.assertEqual(bridge.end(), 0)
        if self.kind == PIPEWIRE:
            # Its Pulse server alone takes 64 clients in all.
            bridge = self.start_bridge(PIPEWIRE_REMOTE="nowhere")
            bridge.route(*map(source, routed))
            line = "[WARNING] The sound server takes no more clients, {} stays silent"
            wait_until(lambda: line.format("an application") in bridge.log, "the line about the applications")
            bridge.call("AddInputDevice", MICROPHONE, 0)
            wait_until(lambda: line.format("a microphone") in bridge.log, "the line about the microphone")


if __name__ == "__main__":
    main()
