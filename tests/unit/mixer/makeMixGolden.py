#!/usr/bin/env python3
"""Writes MixGolden.h: what the limiter, the resampler and the mix give for made-up input, from a computation of
its own in which every operation is rounded to 32-bit float. Samples are written as the bits of their floats.

    python3 tests/unit/mixer/makeMixGolden.py | clang-format > tests/unit/mixer/MixGolden.h
"""

import pathlib
import struct
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[3] / "support"))
from float32 import add, div, exp, mul, narrow, sub  # noqa: E402

KNEE, ROOM, STEEP = narrow(0.95), narrow(0.05), 20.0


def bits(value):
    return struct.unpack("<I", struct.pack("<f", value))[0]


def limit(x):
    if x > KNEE:
        return min(1.0, add(KNEE, mul(ROOM, sub(1.0, exp(mul(-STEEP, sub(x, KNEE)))))))
    if x < -KNEE:
        return max(-1.0, sub(-KNEE, mul(ROOM, sub(1.0, exp(mul(STEEP, add(x, KNEE)))))))
    return x


def noise(seed, count):
    """The generator of tests/support/Noise.h: 24 bits of a linear congruence, -1.0 ... 1.0."""
    samples = []
    for _ in range(count):
        seed = (seed * 1664525 + 1013904223) & 0xFFFFFFFF
        samples.append((seed >> 8) / 8388608.0 - 1.0)
    return samples


def resample(stereo, rate):
    frames = len(stereo) // 2
    count = max(1, int(div(mul(float(frames), 48000.0), float(rate))))
    ratio = div(float(rate), 48000.0)
    out = []
    for i in range(count):
        position = mul(float(i), ratio)
        index = int(position)
        t = sub(position, float(index))
        if index >= frames:
            index, t = frames - 1, 0.0
        for channel in (0, 1):
            def at(frame):
                return stereo[2 * frame + channel]
            if index + 1 >= frames:
                out.append(at(index))
            elif index == 0 or index + 2 >= frames:
                out.append(add(mul(at(index), sub(1.0, t)), mul(at(index + 1), t)))
            else:
                t2 = mul(t, t)
                t3 = mul(t2, t)
                w0 = sub(add(mul(-0.5, t3), t2), mul(0.5, t))
                w1 = add(sub(mul(1.5, t3), mul(2.5, t2)), 1.0)
                w2 = add(add(mul(-1.5, t3), mul(2.0, t2)), mul(0.5, t))
                w3 = sub(mul(0.5, t3), mul(0.5, t2))
                total = mul(w0, at(index - 1))
                for weight, frame in ((w1, index), (w2, index + 1), (w3, index + 2)):
                    total = add(total, mul(weight, at(frame)))
                out.append(total)
    return out


def mix(sources, master, frames):
    """Sources as (samples, volume) in the order of their keys' text."""
    total = [0.0] * (2 * frames)
    for samples, volume in sources:
        for at, sample in enumerate(samples[:2 * frames]):
            total[at] = add(total[at], mul(sample, narrow(volume)))
    return [limit(mul(value, narrow(master))) for value in total]


def table(name, values, note):
    print(f"// {note}")
    print(f"inline constexpr std::array<std::uint32_t, {len(values)}> {name}{{")
    for row in range(0, len(values), 8):
        print("    " + " ".join(f"0x{bits(value):08X}," for value in values[row:row + 8]))
    print("};")
    print()


inputs = [narrow(i / 32) for i in range(-80, 81)]
print("#pragma once")
print()
print("// Written by makeMixGolden.py.")
print()
print("#include <array>")
print("#include <cstdint>")
print()
table("kGoldenLimiter", [limit(x) for x in inputs], "softLimit of -2.5 ... 2.5 in steps of 1/32.")
table("kGoldenResampled44100", resample(noise(1, 2 * 48), 44100), "48 frames of noise(1) at 44100 Hz.")
table("kGoldenResampled96000", resample(noise(2, 2 * 48), 96000), "48 frames of noise(2) at 96000 Hz.")
table("kGoldenMix", mix([(noise(4, 40), 0.7), (noise(5, 60), 0.9), (noise(3, 30), 0.3)], 0.8, 32),
      "32 frames of Bus 1 at 0.8: source 10 with 20 frames of noise(4) at 0.7, source 11 with 30 frames of\n"
      "// noise(5) at 0.9, source 9 with 15 frames of noise(3) at 0.3.")
