#include "tests/unit/dsp/ScriptedLoader.h"

#include <algorithm>

using scriptedHidapi::Report;

namespace {

/// Letters up to the first byte that is none, from the report's offset 3 on.
std::string textOf(const Report& report) {
    const auto isText = [](std::uint8_t byte) {
        return byte == '_' || byte == '?' || (byte >= 'a' && byte <= 'z');
    };
    return {report.begin() + 3, std::find_if_not(report.begin() + 3, report.end(), isText)};
}

/// The loader's form: id, length, a zero byte, the text and its values, a checksum that nobody reads.
Report replyOf(const std::string& text, const Report& values = {}) {
    Report report{1, static_cast<std::uint8_t>(text.size() + values.size() + 2), 0};
    report.insert(report.end(), text.begin(), text.end());
    report.insert(report.end(), values.begin(), values.end());
    report.resize(64);
    return report;
}

} // namespace

ScriptedLoader::ScriptedLoader(bool inBootloader) {
    for (const char* path : {kNormalPath, kBootPath}) {
        scriptedHidapi::onWrite(path, [this, path](const Report& report) { take(path, report); });
    }
    plugIn(inBootloader);
}

void ScriptedLoader::plugIn(bool inBootloader) {
    pullOut();
    scriptedHidapi::plug(
        {inBootloader ? kBootPath : kNormalPath, kVendor, inBootloader ? kBoot : kNormal, 0});
}

void ScriptedLoader::pullOut() {
    scriptedHidapi::unplug(kNormalPath);
    scriptedHidapi::unplug(kBootPath);
}

void ScriptedLoader::take(const char* path, const Report& report) {
    const std::size_t index = taken++;
    if (before) {
        before(index);
    }
    if (report[1] == 'c') {
        commands.emplace_back("packet");
        flash.insert(flash.end(), report.begin() + 7, report.begin() + 63);
    } else {
        const std::string text = textOf(report);
        const std::string word = text.substr(0, 7);
        commands.push_back(word);
        if (word == "cm_rest" && jumps) {
            plugIn(true);
        }
        if (word == "cm_code") {
            flash.clear();
        }
        std::vector<Report> answer;
        if (const auto scripted = replies.find(word); scripted != replies.end()) {
            answer = scripted->second;
        } else if (word == "cm_vsrc") {
            answer = {replyOf(word, {0x01, 0x02, 0x0A})};
        } else if (word == "cm_vcrc" || word == "cm_code" || word == "cm_upgd") {
            answer = {replyOf(text)};
        }
        for (const Report& reply : answer) {
            scriptedHidapi::deliver(path, reply);
        }
    }
    if (after) {
        after(index);
    }
}
