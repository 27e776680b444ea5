#include "tools/scene/Scene.h"

#include "mixer/AppAudioConfig.h"
#include "mixer/WaveFormat.h"
#include "tools/scene/WaveFile.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace {

constexpr double kLongestSceneSeconds = 3600.0;
constexpr std::uint32_t kHighestRate = 768'000;
constexpr std::uint16_t kMostChannels = 64;
constexpr std::uint32_t kLongestPacketFrames = 1'000'000;
constexpr double kMostClockMillionths = 100'000;
constexpr std::uint16_t kWaveFormatExtensible = 0xFFFE;

// What is wrong with the line at hand.
class Wrong : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::string quoted(const std::string& text) {
    return "'" + text + "'";
}

// One word of a line: "key" or "key=value".
struct Word {
    std::string key;
    std::optional<std::string> value;
};

// Words are parted by blanks, except within quotation marks; what follows a # is for the reader.
std::vector<Word> wordsOf(const std::string& line) {
    std::vector<Word> words;
    for (std::size_t at = 0; at < line.size();) {
        if (line[at] == ' ' || line[at] == '\t' || line[at] == '\r') {
            ++at;
            continue;
        }
        if (line[at] == '#') {
            break;
        }
        Word word;
        std::string* part = &word.key;
        bool inQuotes = false;
        for (; at < line.size() && (inQuotes || (line[at] != ' ' && line[at] != '\t' && line[at] != '\r'));
             ++at) {
            if (line[at] == '"') {
                inQuotes = !inQuotes;
            } else if (line[at] == '=' && !inQuotes && !word.value) {
                word.value.emplace();
                part = &*word.value;
            } else {
                *part += line[at];
            }
        }
        if (inQuotes) {
            throw Wrong("a quotation mark is not closed");
        }
        words.push_back(std::move(word));
    }
    return words;
}

template <typename Number>
std::optional<Number> parsed(const std::string& text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [at, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && at == end && !text.empty() ? std::optional(number) : std::nullopt;
}

double numberOf(const std::string& text) {
    const std::optional<double> number = parsed<double>(text);
    if (!number) {
        throw Wrong(quoted(text) + " is no number");
    }
    return *number;
}

std::uint32_t wholeNumber(const std::string& text, std::uint32_t least, std::uint32_t most) {
    const std::optional<std::uint32_t> number = parsed<std::uint32_t>(text);
    if (!number || *number < least || *number > most) {
        throw Wrong(quoted(text) + " is no whole number from " + std::to_string(least) + " to " +
                    std::to_string(most));
    }
    return *number;
}

std::uint64_t timeOf(const std::string& text) {
    double factor = 1.0;
    std::size_t digits = text.size();
    if (text.ends_with("ms")) {
        factor = 0.001;
        digits -= 2;
    } else if (text.ends_with("s")) {
        digits -= 1;
    } else {
        throw Wrong(quoted(text) + " is no time: write 250ms or 1.5s");
    }
    const std::optional<double> number = parsed<double>(text.substr(0, digits));
    if (!number || !(*number >= 0.0 && *number * factor <= kLongestSceneSeconds)) {
        throw Wrong(quoted(text) + " is no time from 0s to 3600s");
    }
    return static_cast<std::uint64_t>(std::llround(*number * factor * kMixSampleRate));
}

double clockOf(const std::string& text) {
    const double millionths = numberOf(text);
    if (!(std::fabs(millionths) <= kMostClockMillionths)) {
        throw Wrong(quoted(text) + " is no clock: write from -100000 to 100000 millionths");
    }
    return millionths;
}

std::uint32_t sourceIdOf(const std::string& text) {
    if (text == "device") {
        return kDeviceProcessId;
    }
    if (text == "bus1") {
        return kBus1MasterProcessId;
    }
    if (text == "bus2") {
        return kBus2MasterProcessId;
    }
    return wholeNumber(text, 0, std::numeric_limits<std::uint32_t>::max());
}

std::vector<std::string> listOf(const std::string& text) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, ',');) {
        parts.push_back(part);
    }
    if (parts.empty()) {
        throw Wrong("a value is missing");
    }
    return parts;
}

// The words behind the first of a line, each to be taken once.
class Arguments {
public:
    explicit Arguments(std::vector<Word> lineWords) : words(std::move(lineWords)) {}

    // The next word, which stands alone.
    std::string plain(const std::string& what) {
        if (words.empty() || words.front().value) {
            throw Wrong(what + " is missing");
        }
        std::string text = words.front().key;
        words.erase(words.begin());
        return text;
    }

    bool flag(const std::string& key) {
        const auto found = find(key);
        if (found == words.end()) {
            return false;
        }
        if (found->value) {
            throw Wrong(quoted(key) + " takes no value");
        }
        words.erase(found);
        return true;
    }

    std::optional<std::string> value(const std::string& key) {
        const auto found = find(key);
        if (found == words.end()) {
            return std::nullopt;
        }
        if (!found->value) {
            throw Wrong(quoted(key) + " needs a value");
        }
        std::optional<std::string> text = std::move(found->value);
        words.erase(found);
        return text;
    }

    void end() const {
        if (!words.empty()) {
            throw Wrong("unknown or repeated word " + quoted(words.front().key));
        }
    }

private:
    std::vector<Word>::iterator find(const std::string& key) {
        auto at = words.begin();
        while (at != words.end() && at->key != key) {
            ++at;
        }
        return at;
    }

    std::vector<Word> words;
};

class SceneReader {
public:
    explicit SceneReader(std::filesystem::path sceneFolder) : folder(std::move(sceneFolder)) {}

    void line(const std::string& text) {
        std::vector<Word> words = wordsOf(text);
        if (words.empty()) {
            return;
        }
        const Word first = words.front();
        words.erase(words.begin());
        if (first.value) {
            throw Wrong("unknown word " + quoted(first.key));
        }
        Arguments arguments(std::move(words));
        if (first.key == "length") {
            scene.lengthFrames = timeOf(arguments.plain("the length"));
        } else if (first.key == "period") {
            scene.periodFrames = wholeNumber(arguments.plain("the number of frames"), 1, kMixSampleRate);
        } else if (first.key == "correct-drift") {
            scene.correctsDrift = true;
        } else if (first.key == "endpoint") {
            readEndpoint(arguments);
        } else if (first.key == "start") {
            readNames(arguments);
        } else if (first.key == "source") {
            readSource(arguments);
        } else if (first.key == "at") {
            readTime(arguments);
        } else if (first.key == "record") {
            readRecord(arguments);
        } else {
            throw Wrong("unknown word " + quoted(first.key));
        }
        arguments.end();
    }

    Scene finish() {
        if (scene.lengthFrames == 0) {
            throw Wrong("the scene has no length");
        }
        for (SceneSource& source : scene.sources) {
            source.endFrame = std::min(source.endFrame, scene.lengthFrames);
        }
        return std::move(scene);
    }

private:
    void readEndpoint(Arguments& arguments) {
        AudioEndpoint endpoint;
        endpoint.friendlyName = arguments.plain("the endpoint's name");
        endpoint.flow = arguments.flag("input") ? EndpointFlow::Capture : EndpointFlow::Render;
        endpoint.connectorCount = arguments.flag("virtual") ? 0 : 1;
        const std::string id =
            arguments.value("id").value_or("scene#" + std::to_string(scene.endpoints.size()));
        endpoint.id = id;
        const std::uint32_t rate = wholeNumber(arguments.value("rate").value_or("48000"), 1, kHighestRate);
        if (!scene.endpointRates.emplace(*endpoint.id, rate).second) {
            throw Wrong("there is an endpoint with the id " + quoted(id) + " already");
        }
        scene.endpoints.push_back(std::move(endpoint));
    }

    void readNames(Arguments& arguments) {
        scene.names.defaultDevice = arguments.value("default").value_or("");
        scene.names.soloDevice = arguments.value("solo").value_or("");
        scene.names.input1Device = arguments.value("input1").value_or("");
        scene.names.input2Device = arguments.value("input2").value_or("");
    }

    void readSource(Arguments& arguments) {
        const std::string idText = arguments.plain("the source's id");
        const std::uint32_t processID = sourceIdOf(idText);
        if (processID == kBus1MasterProcessId || processID == kBus2MasterProcessId) {
            throw Wrong("a bus is no source");
        }
        SceneSound sound = readSound(arguments);
        const WaveFormat& format = sound.format();
        const std::string packet =
            arguments.value("packet").value_or(std::to_string(std::max(1u, format.samplesPerSecond / 100)));
        SceneSource source{processID,
                           QString::fromStdString(arguments.value("name").value_or(idText)),
                           std::move(sound),
                           wholeNumber(packet, 1, kLongestPacketFrames),
                           timeOf(arguments.value("from").value_or("0s")),
                           timeOf(arguments.value("to").value_or("3600s")),
                           clockOf(arguments.value("clock").value_or("0"))};
        if (source.endFrame <= source.startFrame) {
            throw Wrong("the source ends before it begins");
        }
        scene.sources.push_back(std::move(source));
    }

    SceneSound readSound(Arguments& arguments) {
        const std::optional<std::string> file = arguments.value("wav");
        const std::optional<std::string> sine = arguments.value("sine");
        const std::optional<std::string> noise = arguments.value("noise");
        const std::optional<std::string> constant = arguments.value("constant");
        if (int{file.has_value()} + int{sine.has_value()} + int{noise.has_value()} +
                int{constant.has_value()} !=
            1) {
            throw Wrong("a source plays one of wav=, sine=, noise= and constant=");
        }
        if (file) {
            try {
                WaveFile wave = readWaveFile(folder / *file);
                return {std::move(wave.data), wave.format};
            } catch (const WaveFileError& error) {
                throw Wrong(error.what());
            }
        }
        const WaveFormat format = readFormat(arguments);
        std::vector<double> levels;
        for (const std::string& level : listOf(arguments.value("level").value_or("1"))) {
            levels.push_back(numberOf(level));
        }
        if (sine) {
            return {SceneSound::Kind::Sine, numberOf(*sine), std::move(levels), format};
        }
        if (noise) {
            return {SceneSound::Kind::Noise,
                    static_cast<double>(wholeNumber(*noise, 0, std::numeric_limits<std::uint32_t>::max())),
                    std::move(levels), format};
        }
        return {SceneSound::Kind::Constant, numberOf(constant.value_or("")), std::move(levels), format};
    }

    static WaveFormat readFormat(Arguments& arguments) {
        const std::string name = arguments.value("format").value_or("float32");
        WaveFormat format;
        if (name == "float32") {
            format.formatTag = kWaveFormatIeeeFloat;
            format.bitsPerSample = 32;
        } else if (name == "pcm16" || name == "pcm24" || name == "pcm32") {
            format.formatTag = kWaveFormatPcm;
            format.bitsPerSample = static_cast<std::uint16_t>(wholeNumber(name.substr(3), 16, 32));
        } else if (name == "extensible") {
            format.formatTag = kWaveFormatExtensible;
            format.bitsPerSample = 32;
        } else {
            throw Wrong("unknown format " + quoted(name) +
                        ": float32, pcm16, pcm24, pcm32 and extensible are known");
        }
        format.channels = static_cast<std::uint16_t>(
            wholeNumber(arguments.value("channels").value_or("2"), 1, kMostChannels));
        format.samplesPerSecond = wholeNumber(arguments.value("rate").value_or("48000"), 1, kHighestRate);
        format.blockAlign = static_cast<std::uint16_t>(format.channels * format.bitsPerSample / 8);
        return format;
    }

    void readTime(Arguments& arguments) {
        const std::uint64_t atFrame = timeOf(arguments.plain("the time"));
        if (!scene.records.empty() && atFrame <= scene.records.back().atFrame) {
            throw Wrong("times must rise from one record list to the next");
        }
        scene.records.push_back({atFrame, {}});
    }

    void readRecord(Arguments& arguments) {
        if (scene.records.empty()) {
            throw Wrong("a record needs a time: write a line 'at 0s' before it");
        }
        QVariantMap map{{QStringLiteral("processID"), sourceIdOf(arguments.plain("the source's id"))}};
        if (arguments.flag("solo")) {
            map.insert(QStringLiteral("solo"), true);
        }
        for (const char* const key : {"input1", "input2"}) {
            if (const std::optional<std::string> input = arguments.value(key)) {
                map.insert(QString::fromLatin1(key), readInput(*input));
            }
        }
        scene.records.back().configs.append(map);
    }

    // "VOLUME" or "VOLUME,muted".
    static QVariantMap readInput(const std::string& text) {
        const std::vector<std::string> parts = listOf(text);
        if (parts.size() > 2 || (parts.size() == 2 && parts[1] != "muted")) {
            throw Wrong(quoted(text) + " is no volume: write 0.5 or 0.5,muted");
        }
        return {{QStringLiteral("enabled"), true},
                {QStringLiteral("volume"), numberOf(parts[0])},
                {QStringLiteral("muted"), parts.size() == 2}};
    }

    std::filesystem::path folder;
    Scene scene;
};

} // namespace

std::variant<Scene, SceneError> readScene(const std::string& text, const std::filesystem::path& folder) {
    SceneReader reader(folder);
    std::size_t number = 0;
    try {
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            ++number;
            reader.line(line);
        }
        return reader.finish();
    } catch (const Wrong& wrong) {
        return SceneError{std::max<std::size_t>(number, 1), wrong.what()};
    }
}
