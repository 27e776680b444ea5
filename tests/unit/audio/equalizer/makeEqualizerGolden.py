#!/usr/bin/env python3
"""Writes EqualizerGolden.h: the response of each preset, evaluated in double precision over coefficients that are
designed step by step in 32-bit float.

    python3 tests/unit/audio/equalizer/makeEqualizerGolden.py | clang-format > tests/unit/audio/equalizer/EqualizerGolden.h
"""

import cmath
import math
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "support"))
from float32 import add, cos, div, mul, narrow, sin, sub  # noqa: E402

RATE = 48000.0
BANDS = [(63, "high"), (125, "peak"), (250, "peak"), (400, "peak"), (630, "peak"), (1000, "peak"), (1600, "peak"),
         (2500, "peak"), (4000, "peak"), (6300, "peak"), (10000, "peak"), (16000, "low")]
PRESETS = [
    ("acoustic", [2, 1, 0, 0, 0, 0, 0, 1, 2, 1, 0, 0]),
    ("vocalBoost", [4, 2, 0, 0, -2, 0, 4, 2, 0, -3, -2, 1]),
    ("lowCut75Hz", [-3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0]),
    ("lowCut150Hz", [-6, -3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0]),
    ("flat", [0] * 12),
    ("midrangeBoost", [0, 0, 1, 2, 3, 3, 2, 1, 1, 0, 0, 0]),
    ("midBassBoost", [-1, 0, 4, 2, 0, 0, 0, 1, 1, 0, 0, 0]),
]
FREQUENCIES = [20, 40, 63, 90, 125, 180, 250, 315, 400, 500, 630, 800, 1000, 1250, 1600, 2000, 2500, 3150, 4000,
               5000, 6300, 8000, 10000, 12500, 16000, 20000]


def coefficients(frequency, kind, gain):
    w0 = div(mul(narrow(6.283185), frequency), RATE)
    s, c = sin(w0), cos(w0)
    alpha = mul(s, sin(div(mul(narrow(0.3465736), w0), s)))  # a sine, by intention
    b1 = a1 = mul(-2, c)
    a0, a2 = add(1, alpha), sub(1, alpha)
    if kind == "high":
        b0 = b2 = div(add(1, c), 2)
        b1 = -add(1, c)
    elif kind == "low":
        b0 = b2 = div(sub(1, c), 2)
        b1 = sub(1, c)
    else:
        amplitude = narrow(10 ** (gain / 40))
        b0, b2 = add(1, mul(alpha, amplitude)), sub(1, mul(alpha, amplitude))
        a0, a2 = add(1, div(alpha, amplitude)), sub(1, div(alpha, amplitude))
    return [div(value, a0) for value in (b0, b1, b2)], [1.0] + [div(value, a0) for value in (a1, a2)]


def response(gains, frequency):
    z = cmath.exp(-2j * math.pi * frequency / RATE)
    total = 0.0
    for (centre, kind), gain in zip(BANDS, gains):
        if abs(gain) <= 0.05:
            continue
        b, a = coefficients(centre, kind, gain)
        total += 20 * math.log10(abs((b[0] + b[1] * z + b[2] * z * z) / (a[0] + a[1] * z + a[2] * z * z)))
    return total


print("#pragma once")
print()
print("// Written by makeEqualizerGolden.py: the response of each preset at 48000 Hz, in dB.")
print()
print("#include <array>")
print()
print("struct PresetResponse {")
print("    const char* name;")
print("    std::array<float, 12> gainsDb;")
print(f"    std::array<double, {len(FREQUENCIES)}> responseDb; // at kResponseFrequenciesHz")
print("};")
print()
print(f"inline constexpr std::array<double, {len(FREQUENCIES)}> kResponseFrequenciesHz{{")
print("    " + ", ".join(str(f) for f in FREQUENCIES) + "};")
print()
print(f"inline constexpr std::array<PresetResponse, {len(PRESETS)}> kPresetResponses{{{{")
for name, gains in PRESETS:
    print(f'    {{"{name}",')
    print("     {" + ", ".join(str(g) for g in gains) + "},")
    print("     {" + ", ".join(f"{response(gains, f):.6f}" for f in FREQUENCIES) + "}},")
print("}};")
