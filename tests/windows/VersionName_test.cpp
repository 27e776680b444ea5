#include "platform/windows/applications/VersionName.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <vector>
#include <windows.h>

namespace {

// A version block as a test writes it down: values by their paths.
class FakeVersion {
public:
    void put(const std::wstring& path, const std::wstring& text) {
        put(path, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    }
    void translations(const std::vector<WORD>& words) {
        put(L"\\VarFileInfo\\Translation", words.data(), words.size() * sizeof(WORD));
    }
    void put(const std::wstring& path, const void* data, std::size_t size) {
        const auto* const bytes = static_cast<const std::byte*>(data);
        values[path].assign(bytes, bytes + size);
    }
    [[nodiscard]] std::wstring name() const {
        return displayNameOf([this](const std::wstring& path) -> std::optional<std::span<const std::byte>> {
            const auto found = values.find(path);
            return found == values.end() ? std::nullopt
                                         : std::optional(std::span<const std::byte>(found->second));
        });
    }

private:
    std::map<std::wstring, std::vector<std::byte>> values;
};

const std::wstring kEnglishProduct = L"\\StringFileInfo\\040904b0\\ProductName";
const std::wstring kEnglishDescription = L"\\StringFileInfo\\040904b0\\FileDescription";
const std::wstring kChineseProduct = L"\\StringFileInfo\\080404b0\\ProductName";
const std::wstring kChineseDescription = L"\\StringFileInfo\\080404b0\\FileDescription";
const std::wstring kTaiwanDescription = L"\\StringFileInfo\\040404b0\\FileDescription";

std::wstring ownImage() {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
    return path;
}

std::wstring nameOfFile(const std::wstring& path) {
    return versionDisplayName(windowsInventorySystemCalls(), path);
}

std::wstring sample() {
    return (std::filesystem::path(ownImage()).parent_path() / L"versionSample.dll").wstring();
}

} // namespace

TEST(VersionName, ChineseNameCountsWhateverTheOrder) {
    for (const std::vector<WORD>& order :
         {std::vector<WORD>{0x0409, 1200, 0x0804, 1200}, std::vector<WORD>{0x0804, 1200, 0x0409, 1200}}) {
        FakeVersion version;
        version.translations(order);
        version.put(kEnglishProduct, L"Player");
        version.put(kChineseProduct, L"播放器");
        EXPECT_EQ(version.name(), L"播放器");
    }
}

TEST(VersionName, ProductNameCountsBeforeTheDescription) {
    FakeVersion version;
    version.translations({0x0409, 1200});
    version.put(kEnglishDescription, L"A player");
    EXPECT_EQ(version.name(), L"A player");
    version.put(kEnglishProduct, L"Player");
    EXPECT_EQ(version.name(), L"Player");
}

TEST(VersionName, ChineseDescriptionReplacesANameThatIsKept) {
    FakeVersion version;
    version.translations({0x0409, 1200, 0x0804, 1200});
    version.put(kEnglishProduct, L"Player");
    version.put(kChineseDescription, L"播放器");
    EXPECT_EQ(version.name(), L"播放器");
}

TEST(VersionName, DescriptionInTraditionalChineseIsNotAskedForOnceANameIsKept) {
    FakeVersion version;
    version.translations({0x0409, 1200, 0x0404, 1200});
    version.put(kEnglishProduct, L"Player");
    version.put(kTaiwanDescription, L"播放器");
    EXPECT_EQ(version.name(), L"Player");
}

TEST(VersionName, TranslationsWithoutABlockAndHalfATranslationAreNothing) {
    FakeVersion version;
    version.translations({0x0000, 0, 0xFFFF, 0xFFFF, 0x0409, 1200, 0x0804});
    version.put(kEnglishProduct, L"Player");
    EXPECT_EQ(version.name(), L"Player");
    version.translations({0x0409});
    EXPECT_EQ(version.name(), L"");
    version.translations({});
    EXPECT_EQ(version.name(), L"");
}

TEST(VersionName, TextWithoutAnEndOrOfHalfACharacterIsTakenAsFarAsItGoes) {
    FakeVersion version;
    version.translations({0x0409, 1200});
    const wchar_t text[] = {L'P', L'l', L'a', L'y'};
    version.put(kEnglishProduct, text, sizeof(text));
    EXPECT_EQ(version.name(), L"Play");
    version.put(kEnglishProduct, text, sizeof(text) - 1);
    EXPECT_EQ(version.name(), L"Pla");
    version.put(kEnglishProduct, text, 0);
    version.put(kEnglishDescription, L"A player");
    EXPECT_EQ(version.name(), L"A player");
}

TEST(VersionName, RealFileWithTwoLanguagesGivesItsChineseName) {
    EXPECT_EQ(nameOfFile(sample()), L"播放器");
    std::wstring slashes = sample();
    std::ranges::replace(slashes, L'\\', L'/');
    EXPECT_EQ(nameOfFile(slashes), L"播放器");
}

TEST(VersionName, OwnProgramSaysItsProductName) {
    EXPECT_EQ(nameOfFile(ownImage()), L"Vexo Deck");
}

TEST(VersionName, FileWithoutAVersionBlockHasNoName) {
    EXPECT_EQ(nameOfFile(L""), L"");
    EXPECT_EQ(nameOfFile(L"C:\\no such file.exe"), L"");
}

TEST(VersionName, DamagedFilesGiveNoCrash) {
    std::ifstream whole(std::filesystem::path(sample()), std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(whole)), {});
    ASSERT_FALSE(bytes.empty());
    // The block begins with its name, in wide characters.
    const std::string mark("V\0S\0_\0V\0E\0R\0", 12);
    const auto block = std::search(bytes.begin(), bytes.end(), mark.begin(), mark.end()) - bytes.begin();
    ASSERT_LT(block, static_cast<std::ptrdiff_t>(bytes.size()));
    const std::filesystem::path damaged = std::filesystem::temp_directory_path() / "vexoDamagedVersion.dll";
    for (std::ptrdiff_t at = block - 8; at < block + 600; at += 7) {
        std::vector<char> copy = bytes;
        copy[static_cast<std::size_t>(at)] = '\xFF';
        copy[static_cast<std::size_t>(at) + 1] = '\xFF';
        std::ofstream(damaged, std::ios::binary)
            .write(copy.data(), static_cast<std::streamsize>(copy.size()));
        EXPECT_LT(nameOfFile(damaged.wstring()).size(), 4096u) << "damaged at " << at;
    }
    std::filesystem::remove(damaged);
}
