"""What the sound tests measure with, on signals that are known."""

import unittest

import numpy

from sound import RATE, held_level_db, highest_level_db, level_db, tone

AMPLITUDE = 0.25
LEVEL_DB = 20 * numpy.log10(AMPLITUDE)
GONE_DB = LEVEL_DB - 60
TONE = 1000
OTHER_TONE = 3000


class Measures(unittest.TestCase):
    def setUp(self):
        self.random = numpy.random.default_rng(1)

    def with_dropouts(self, signal, count, seconds):
        """The signal with stretches of silence in it, as if its player had been late."""
        broken = signal.copy()
        for first in self.random.integers(0, len(signal), count):
            broken[first:first + int(seconds * RATE)] = 0
        return broken

    def test_level_of_a_tone_is_that_of_its_amplitude_on_the_louder_channel(self):
        for amplitude in (1.0, 0.25, 0.01):
            signal = tone(TONE, 0.2, amplitude) * [0.5, 1.0]
            self.assertAlmostEqual(level_db(signal, TONE), 20 * numpy.log10(amplitude), delta=0.01)
        for frames in (9600, 960, 10, 0):
            self.assertEqual(level_db(numpy.zeros((frames, 2)), TONE), -200)

    def test_level_is_found_where_most_pieces_are_broken(self):
        whole = []
        for _ in range(50):
            signal = self.with_dropouts(tone(TONE, 1.0), 30, 0.01)
            whole += [abs(level_db(piece, TONE) - LEVEL_DB) < 0.1 for piece in numpy.array_split(signal, 50)]
            self.assertAlmostEqual(level_db(signal, TONE), LEVEL_DB, delta=0.05)
        self.assertLess(numpy.mean(whole), 0.5)

    def test_level_that_is_wrong_is_not_taken_for_the_right_one(self):
        for _ in range(50):
            signal = self.with_dropouts(tone(TONE, 0.2, AMPLITUDE * 10 ** (0.2 / 20)), 3, 0.005)
            self.assertFalse(abs(level_db(signal, TONE) - LEVEL_DB) < 0.1)

    def test_pieces_that_agree_on_nothing_have_no_level(self):
        rising = tone(TONE, 0.2, 1.0) * numpy.geomspace(0.01, 1.0, 9600)[:, None]
        self.assertTrue(numpy.isnan(level_db(rising, TONE)))

    def test_tone_that_is_not_there_is_gone_beside_a_dropout_of_another(self):
        for _ in range(50):
            signal = self.with_dropouts(tone(TONE, 0.2), 1, 0.01)
            self.assertLess(held_level_db(signal, OTHER_TONE), GONE_DB)
        self.assertGreater(highest_level_db(signal, OTHER_TONE), GONE_DB)

    def test_tone_that_is_there_is_not_gone_for_its_dropouts(self):
        for _ in range(50):
            signal = self.with_dropouts(tone(OTHER_TONE, 0.2), 1, 0.05)
            self.assertGreater(held_level_db(signal, OTHER_TONE), GONE_DB)
            signal = self.with_dropouts(tone(OTHER_TONE, 1.0), 10, 0.02)
            self.assertGreater(held_level_db(signal, OTHER_TONE), GONE_DB)

    def test_faint_tone_that_is_held_is_not_gone(self):
        faint = numpy.zeros((RATE, 2), numpy.float32)
        faint[12345:12345 + 3840] = tone(OTHER_TONE, 0.08, AMPLITUDE * 10 ** (-58 / 20))
        self.assertGreater(held_level_db(tone(TONE, 1.0) + faint, OTHER_TONE), GONE_DB)
        self.assertLess(held_level_db(tone(TONE, 1.0), OTHER_TONE), GONE_DB)


if __name__ == "__main__":
    unittest.main()
