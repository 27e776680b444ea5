#include "dsp/frames/ParameterRecords.h"

#include "dsp/frames/ControlFrame.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace vexo::dsp {

namespace {

constexpr std::size_t kDataOffset = 10;
constexpr std::size_t kAlgShortTotal = 105;
constexpr std::size_t kAlgShortBytes = 36;
constexpr std::size_t kBands = 10;
constexpr std::size_t kBandBytes = 16;

struct Wire {
    std::uint8_t command;
    std::size_t bytes;
};

/// The reply's command, which is the request's without its top bit, and the size of the data.
constexpr Wire wireOf(RecordKind kind) {
    switch (kind) {
    case RecordKind::Adc:
        return {0x01, 88};
    case RecordKind::Dac:
        return {0x02, 32};
    case RecordKind::I2s:
        return {0x03, 36};
    case RecordKind::SpkEq:
        return {0x05, 324};
    case RecordKind::MicEq:
        return {0x07, 324};
    case RecordKind::Alg:
        break;
    }
    return {0x08, 104};
}

/// Reads a store from its start on, a field a line.
class Dump {
public:
    explicit Dump(Bytes store) : rest(store) {}

    void u8(const std::string& prefix, std::initializer_list<std::string_view> names) {
        for (const std::string_view name : names) {
            line(prefix, name, std::to_string(rest[0]), 1);
        }
    }
    void i8(const std::string& prefix, std::initializer_list<std::string_view> names) {
        for (const std::string_view name : names) {
            line(prefix, name, std::to_string(static_cast<std::int8_t>(rest[0])), 1);
        }
    }
    void u32(const std::string& prefix, std::initializer_list<std::string_view> names) {
        for (const std::string_view name : names) {
            const std::uint32_t value = rest[0] | std::uint32_t{rest[1]} << 8U |
                                        std::uint32_t{rest[2]} << 16U | std::uint32_t{rest[3]} << 24U;
            line(prefix, name, std::to_string(value), 4);
        }
    }
    std::vector<std::string> take() { return std::move(lines); }

private:
    void line(const std::string& prefix, std::string_view name, const std::string& value, std::size_t bytes) {
        lines.push_back(prefix + std::string(name) + ": " + value);
        rest = rest.subspan(bytes);
    }

    Bytes rest;
    std::vector<std::string> lines;
};

std::string at(std::string_view name, std::size_t index) {
    return std::string(name) + "[" + std::to_string(index) + "].";
}

void dumpAdc(Dump& dump) {
    for (std::size_t i = 0; i < 2; ++i) {
        dump.u8(at("adcCfg gCfg", i), {"aias", "wordLen", "mixadc1", "mixadc2"});
        dump.u32(at("adcCfg gCfg", i), {"sr"});
    }
    for (std::size_t i = 0; i < 6; ++i) {
        dump.u8(at("adcCfg chxCfg", i), {"en"});
        dump.i8(at("adcCfg chxCfg", i), {"gim", "gid"});
        dump.u8(at("adcCfg chxCfg", i), {"aiadc"});
    }
    for (std::size_t i = 0; i < 3; ++i) {
        dump.u8(at("adcCfg pairCfg", i), {"mute", "hpf", "mixrec", "wnf"});
        dump.u8(at("adcCfg pairCfg", i) + "agcCfg.",
                {"agcEn", "stereo", "ngEn", "snrOptEn", "target", "holdTime", "atkTime", "dcyTime", "ngThr",
                 "minGain", "maxGain", "rev"});
    }
}

void dumpDac(Dump& dump) {
    dump.u8("dacCfg ", {"aias", "mix", "drcEn", "wordLen"});
    dump.u32("dacCfg ", {"sr"});
    for (std::size_t i = 0; i < 2; ++i) {
        dump.u8(at("dacCfg chxCfg", i), {"en", "mute"});
        dump.i8(at("dacCfg chxCfg", i), {"god", "gom", "gomix", "gimix"});
        dump.u8(at("dacCfg chxCfg", i), {"mixdac", "aidac", "drcThr", "drcComp", "rev[0]", "rev[1]"});
    }
}

void dumpI2s(Dump& dump) {
    for (std::size_t i = 0; i < 3; ++i) {
        dump.u8(at("i2sCfg", i), {"en", "txEn", "rxEn", "isMaster", "mute", "format", "dataW", "frameLen"});
        dump.u32(at("i2sCfg", i), {"sr"});
    }
}

void dumpEqualizer(Dump& dump, const std::string& name, bool isStereo) {
    dump.u8(name, {"eqNum", "stereo", "bypass"});
    dump.i8(name, {"gain"});
    for (std::size_t i = 0; i < (isStereo ? 2 * kBands : kBands); ++i) {
        const std::string band = name + at(i < kBands ? "left" : "right", i % kBands);
        dump.u8(band, {"bandEn", "eqType", "rev[0]", "rev[1]"});
        dump.u32(band, {"qbw", "fc", "gain"});
    }
}

void dumpAlg(Dump& dump) {
    dump.u8("algCfg ", {"volCtrlEn", "agcEn", "drcEn", "aecEn", "derevrbEn", "ncEn", "bfEn", "doaEn",
                        "spkEqEn", "micEqEn", "referenEn", "DenoiseEn"});
    dump.u8("algCfg ", {"vol[0]", "vol[1]", "vol[2]", "vol[3]", "vol[4]", "vol[5]", "vol[6]", "vol[7]"});
    dump.u32("algCfg agc.", {"sr", "target", "minGain", "maxGain", "holdTime", "atkTime", "rlsTime", "thr"});
    dump.u32("algCfg drc.", {"sr", "ratio", "atkTime", "rlsTime", "kneeWid", "thr"});
    dump.u32("algCfg aec.", {"depth", "converg"});
    dump.u8("algCfg dereverb.", {"rat", "rev[0]", "rev[1]", "rev[2]"});
    dump.u32("algCfg dereverb.", {"str"});
    dump.u32("algCfg ", {"ncDepth", "dnDepth", "dnVolum"});
}

/// Sets the sample rate of 48000 at each offset.
void setRates(std::span<std::uint8_t> data, std::initializer_list<std::size_t> offsets) {
    for (const std::size_t offset : offsets) {
        data[offset] = 0x80;
        data[offset + 1] = 0xBB;
    }
}

void fillDefaults(RecordKind kind, std::span<std::uint8_t> data) {
    constexpr std::uint8_t kWordBits = 24;
    switch (kind) {
    case RecordKind::Adc:
        data[1] = data[9] = kWordBits;
        setRates(data, {4, 12});
        return;
    case RecordKind::Dac:
        data[3] = kWordBits;
        setRates(data, {4});
        return;
    case RecordKind::I2s:
        setRates(data, {8, 20, 32});
        return;
    case RecordKind::SpkEq:
    case RecordKind::MicEq:
        // Ten bands that are off, at 1000 Hz.
        data[0] = kBands;
        for (std::size_t band = 4; band < data.size(); band += kBandBytes) {
            data[band + 4] = 1;
            data[band + 8] = 0xE8;
            data[band + 9] = 0x03;
        }
        return;
    case RecordKind::Alg:
        setRates(data, {20, 52});
        return;
    }
}

} // namespace

std::size_t storeBytes(RecordKind kind) {
    return wireOf(kind).bytes;
}

Report defaultRecord(RecordKind kind) {
    const Wire wire = wireOf(kind);
    Report record(kMagic.begin(), kMagic.end());
    record.insert(record.end(), {0x10, 0x00, wire.command, static_cast<std::uint8_t>(wire.bytes & 0xFFU),
                                 static_cast<std::uint8_t>(wire.bytes >> 8U)});
    record.resize(kDataOffset + wire.bytes);
    fillDefaults(kind, std::span(record).subspan(kDataOffset));
    record.push_back(checksumOf(record).value);
    return record;
}

void copyRecord(RecordKind kind, Bytes record, std::span<std::uint8_t> store) {
    if (record.size() <= kDataOffset) {
        return;
    }
    const bool isShortAlg = kind == RecordKind::Alg && record.size() <= kAlgShortTotal;
    const auto target = store.first(std::min(store.size(), isShortAlg ? kAlgShortBytes : storeBytes(kind)));
    const Bytes data = record.subspan(kDataOffset);
    const std::size_t count = std::min(data.size(), target.size());
    std::ranges::copy(data.first(count), target.begin());
    std::ranges::fill(target.subspan(count), std::uint8_t{0});
}

std::vector<std::string> dumpRecord(RecordKind kind, Bytes store, std::size_t set) {
    const bool isSpk = kind == RecordKind::SpkEq;
    const bool isEqualizer = isSpk || kind == RecordKind::MicEq;
    if (store.size() < storeBytes(kind)) {
        return isEqualizer ? std::vector<std::string>{"EQ para NULL!"} : std::vector<std::string>{};
    }
    Dump dump(store);
    if (isEqualizer) {
        dumpEqualizer(dump, (isSpk ? "Spk EqNum " : "Mic EqNum ") + std::to_string(set) + " ", store[1] != 0);
    } else if (kind == RecordKind::Adc) {
        dumpAdc(dump);
    } else if (kind == RecordKind::Dac) {
        dumpDac(dump);
    } else if (kind == RecordKind::I2s) {
        dumpI2s(dump);
    } else {
        dumpAlg(dump);
    }
    return dump.take();
}

} // namespace vexo::dsp
