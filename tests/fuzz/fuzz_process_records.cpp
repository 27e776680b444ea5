// Fuzzes what is read of /proc about a process, which names itself as it likes. It fails when a sanitizer
// reports, when a name hides or fakes what the kernel says behind it, and when a text that is taken from a
// record does not stand there.

#include "platform/linux/system/ProcessRecords.h"
#include "tests/fuzz/FuzzInput.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using fuzz::Input;
using fuzz::require;

bool isPartOf(std::string_view part, std::string_view whole) {
    return part.empty() ||
           (part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size());
}

void readRecord(std::string_view record) {
    require(parentIn(record) != 0U, "nobody's parent is 0");
    (void)startTimeIn(record);
    const std::vector<std::uint32_t> ids = namespaceIdsIn(record);
    require(2 * ids.size() <= record.size(), "each id stands in the record");
    const std::string_view application = flatpakApplicationIn(record);
    require(isPartOf(application, record) && application.find('\n') == std::string_view::npos,
            "an id is a part of one line");
    const std::string_view line = firstLineIn(record);
    require(isPartOf(line, record) && line.find('\n') == std::string_view::npos, "a line has no end in it");
    require(record.starts_with(imagePathIn(record)), "a path begins its link's target");
    const std::string_view mount = mountIn(record);
    require(isPartOf(mount, record) && mount.find_first_of(" \n") == std::string_view::npos,
            "a mount is a word");
    const std::string_view kind = kindOfMountIn(record, mount);
    require(isPartOf(kind, record) && kind.find_first_of(" \n") == std::string_view::npos,
            "a kind is a word");
    if (const std::optional<std::uint32_t> number = processNumber(record)) {
        require(std::ranges::all_of(record, [](char letter) { return letter >= '0' && letter <= '9'; }),
                "a number has digits alone");
        require(processNumber(std::to_string(*number)) == number, "a number reads as it is written");
    }
}

// A line as the kernel writes it, about a process of any name.
void readStat(std::uint32_t parent, std::uint64_t start, std::string_view name) {
    std::string stat = "4711 (" + std::string(name) + ") S " + std::to_string(parent);
    for (int field = 5; field < 22; ++field) {
        stat += " -1";
    }
    stat += ' ' + std::to_string(start) + " 0 0\n";
    require(parentIn(stat).value_or(0) == parent, "a name does not hide the parent");
    require(startTimeIn(stat) == start, "a name does not hide the start");
}

// The kernel writes a line's end in a name as two letters.
void readStatus(const std::vector<std::uint32_t>& ids, std::string name) {
    std::ranges::replace(name, '\n', ' ');
    std::string status = "Name:\t" + name + "\nNSpid:";
    for (const std::uint32_t id : ids) {
        status += '\t' + std::to_string(id);
    }
    require(namespaceIdsIn(status + "\nNSpgid:\t1\n") == ids, "a name does not hide the ids");
    require(namespaceIdsIn(status) == ids, "a record may end in a line");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    const std::uint8_t kind = input.byte();
    if (kind % 4 == 0) {
        const std::uint32_t parent = input.number();
        const std::uint32_t start = input.number();
        readStat(parent, start, input.rest());
        return 0;
    }
    if (kind % 4 == 1) {
        std::vector<std::uint32_t> ids(input.byte() % 5);
        std::ranges::generate(ids, [&input] { return input.number(); });
        readStatus(ids, input.rest());
        return 0;
    }
    readRecord(input.rest());
    return 0;
}
