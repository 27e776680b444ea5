#include "platform/linux/crash/LoadedModule.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <span>
#include <sys/uio.h>
#include <unistd.h>

namespace {

constexpr std::size_t kMostHeaders = 32;
constexpr std::size_t kNoteBytes = 4096;
// Of a line of /proc/self/maps, whose path is escaped.
constexpr std::size_t kLineBytes = 8192;

// One handler runs at a time; this is too much for its stack.
constinit std::array<char, kLineBytes> lineBuffer{};
constinit std::array<unsigned char, kNoteBytes> noteBuffer{};

// False where the memory cannot be read, which is no fault this way.
bool readMemory(std::uintptr_t from, void* to, std::size_t size) noexcept {
    const iovec local{to, size};
    const iovec remote{reinterpret_cast<void*>(from), size};
    return process_vm_readv(getpid(), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(size);
}

std::uintptr_t takeNumber(std::string_view& text, char end) noexcept {
    std::uintptr_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number, 16);
    text.remove_prefix(
        std::min(text.size(), text.find(end) == std::string_view::npos ? text.size() : text.find(end) + 1));
    return number;
}

void skipWord(std::string_view& text) noexcept {
    text.remove_prefix(std::min(text.find(' '), text.size()));
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

} // namespace

bool LoadedModule::find(std::uintptr_t address) noexcept {
    base = 0;
    pathSize = 0;
    idSize = 0;
    const int file = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    std::size_t filled = 0;
    bool isFound = false;
    while (!isFound) {
        const ssize_t count = read(file, lineBuffer.data() + filled, lineBuffer.size() - filled);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        std::string_view text(lineBuffer.data(), filled + static_cast<std::size_t>(count));
        for (std::size_t end = text.find('\n'); end != std::string_view::npos && !isFound;
             end = text.find('\n')) {
            isFound = takeLine(text.substr(0, end), address);
            text.remove_prefix(end + 1);
        }
        filled = text.size();
        std::memmove(lineBuffer.data(), text.data(), filled);
    }
    close(file);
    if (!isFound || pathSize == 0) {
        return false;
    }
    readHeader(address);
    return true;
}

// first-last rights offset device inode path
bool LoadedModule::takeLine(std::string_view line, std::uintptr_t address) noexcept {
    const std::uintptr_t first = takeNumber(line, '-');
    const std::uintptr_t last = takeNumber(line, ' ');
    skipWord(line);
    for (int word = 0; word < 3; ++word) {
        skipWord(line);
    }
    // The first part of a file begins at its header; others may be mapped from the same page of the file.
    // What has no file, as zeroed data, stands between the parts.
    if (!line.empty() && line != path()) {
        base = first;
        pathSize = std::min(line.size(), pathText.size());
        std::memcpy(pathText.data(), line.data(), pathSize);
    }
    if (address < first || address >= last) {
        return false;
    }
    if (line.empty()) {
        pathSize = 0;
    }
    return true;
}

void LoadedModule::readHeader(std::uintptr_t address) noexcept {
    ownOffset = address - base;
    ElfW(Ehdr) header{};
    std::array<ElfW(Phdr), kMostHeaders> parts{};
    if (!readMemory(base, &header, sizeof header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
        return;
    }
    const std::span used = std::span(parts).first(std::min<std::size_t>(header.e_phnum, kMostHeaders));
    if (!readMemory(base + header.e_phoff, used.data(), used.size_bytes())) {
        return;
    }
    const auto loaded = std::ranges::find(used, ElfW(Word){PT_LOAD}, &ElfW(Phdr)::p_type);
    const std::uintptr_t linkedAt = loaded == used.end() ? 0 : loaded->p_vaddr - loaded->p_offset;
    ownOffset += linkedAt;
    for (const auto& part : used) {
        if (part.p_type == PT_NOTE && idSize == 0) {
            readNotes(base - linkedAt + part.p_vaddr, std::min<std::size_t>(part.p_memsz, kNoteBytes));
        }
    }
}

void LoadedModule::readNotes(std::uintptr_t notes, std::size_t size) noexcept {
    if (!readMemory(notes, noteBuffer.data(), size)) {
        return;
    }
    std::span<const unsigned char> rest(noteBuffer.data(), size);
    while (rest.size() >= sizeof(ElfW(Nhdr))) {
        ElfW(Nhdr) note{};
        std::memcpy(&note, rest.data(), sizeof note);
        const auto padded = [](std::size_t bytes) {
            return (bytes + 3) / 4 * 4;
        };
        const std::size_t name = sizeof note;
        const std::size_t content = name + padded(note.n_namesz);
        if (content + note.n_descsz > rest.size()) {
            return;
        }
        if (note.n_type == NT_GNU_BUILD_ID && note.n_namesz == sizeof ELF_NOTE_GNU &&
            std::memcmp(rest.data() + name, ELF_NOTE_GNU, sizeof ELF_NOTE_GNU) == 0) {
            idSize = std::min<std::size_t>(note.n_descsz, id.size());
            std::memcpy(id.data(), rest.data() + content, idSize);
            return;
        }
        rest = rest.subspan(std::min(rest.size(), content + padded(note.n_descsz)));
    }
}
