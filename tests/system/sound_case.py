"""A system test beside a sound server of its own."""

import unittest

from sound import SoundServer, available
from system_case import SystemCase


@unittest.skipUnless(available("pulseaudio"), "pulseaudio is not installed")
class SoundCase(SystemCase):
    """The server is PulseAudio, and has no sink yet."""

    def setUp(self):
        super().setUp()
        self.sound = SoundServer(self.stage.folder, self.stage.env)
        self.addCleanup(self.sound.__exit__, None, None, None)
        self.sound.start()
