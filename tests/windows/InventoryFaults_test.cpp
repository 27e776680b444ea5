// Each call of the inventories that fails: what is lost of a program's entry, what is said, and that no icon
// is left over.

#include "bridge/ApplicationInventory.h"
#include "platform/windows/applications/AudioSessions.h"
#include "platform/windows/applications/IconExtraction.h"
#include "platform/windows/applications/VersionName.h"
#include "platform/windows/applications/WindowInventory.h"
#include "tests/support/LogCapture.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThreadPool>

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <objbase.h>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Gdiplus::GenericError;

// The calls of Windows, of which a test takes single ones out. Icons are counted; temporary files lie in a
// folder of their own.
class Calls {
public:
    Calls() {
        table.getTempPath = [folder = QDir::toNativeSeparators(temporary.path() + u'/').toStdWString()](
                                DWORD length, wchar_t* path) -> DWORD {
            if (length <= folder.size()) {
                return static_cast<DWORD>(folder.size() + 1);
            }
            folder.copy(path, folder.size());
            path[folder.size()] = L'\0';
            return static_cast<DWORD>(folder.size());
        };
        table.privateExtractIcons = [this](const wchar_t* path, int size, HICON* icon) {
            const UINT count = windowsInventorySystemCalls().privateExtractIcons(path, size, icon);
            iconsTaken += *icon != nullptr ? 1 : 0;
            return count;
        };
        table.extractIconEx = [this](const wchar_t* path, HICON* large, HICON* small) {
            const UINT count = windowsInventorySystemCalls().extractIconEx(path, large, small);
            iconsTaken += (*large != nullptr ? 1 : 0) + (*small != nullptr ? 1 : 0);
            return count;
        };
        table.getFileInfo = [this](const wchar_t* path, SHFILEINFOW* info, UINT flags) {
            const DWORD_PTR found = windowsInventorySystemCalls().getFileInfo(path, info, flags);
            iconsTaken += found != 0 && info->hIcon != nullptr ? 1 : 0;
            return found;
        };
        table.initializeCom = [this] {
            const HRESULT result = windowsInventorySystemCalls().initializeCom();
            apartmentsEntered += SUCCEEDED(result) ? 1 : 0;
            return result;
        };
        table.uninitializeCom = [this] {
            ++apartmentsLeft;
            windowsInventorySystemCalls().uninitializeCom();
        };
        table.destroyIcon = [this](HICON icon) {
            ++iconsDestroyed;
            DestroyIcon(icon);
        };
    }

    QTemporaryDir temporary;
    std::atomic<int> iconsTaken{0};
    std::atomic<int> iconsDestroyed{0};
    std::atomic<int> apartmentsEntered{0};
    std::atomic<int> apartmentsLeft{0};
    std::atomic<int> failures{0};
    InventorySystemCalls table = windowsInventorySystemCalls();
};

using Break = void (*)(Calls&);

// Lets one call give this answer, and nothing else.
template <auto kCall, auto kAnswer>
void answers(Calls& calls) {
    calls.table.*kCall = [&calls](auto...) {
        ++calls.failures;
        SetLastError(ERROR_ACCESS_DENIED);
        return kAnswer;
    };
}

template <auto kCall>
constexpr Break kGivesNothing = [](Calls& calls) {
    calls.table.*kCall = [&calls](auto...) {
        ++calls.failures;
        SetLastError(ERROR_ACCESS_DENIED);
        return typename decltype(std::function{calls.table.*kCall})::result_type{};
    };
};

template <auto kCall>
constexpr Break kGdiPlusFails = answers<kCall, GenericError>;

// The shell has no icon of this file, but has that of any program.
void shellKnowsNoIconOfTheFile(Calls& calls) {
    calls.table.getFileInfo = [&calls, next = calls.table.getFileInfo](const wchar_t* path, SHFILEINFOW* info,
                                                                       UINT flags) -> DWORD_PTR {
        if ((flags & SHGFI_USEFILEATTRIBUTES) != 0) {
            return next(path, info, flags);
        }
        ++calls.failures;
        return 0;
    };
}

// GDI+ has encoders, but none for PNG.
void noEncoderForPng(Calls& calls) {
    calls.table.getImageEncoders = [&calls](UINT count, UINT byteCount, Gdiplus::ImageCodecInfo* encoders) {
        ++calls.failures;
        static wchar_t other[] = L"image/other";
        const Gdiplus::GpStatus status =
            windowsInventorySystemCalls().getImageEncoders(count, byteCount, encoders);
        for (UINT at = 0; at < count; ++at) {
            encoders[at].MimeType = other;
        }
        return status;
    };
}

QString ownProgramFile() {
    return QDir::toNativeSeparators(QCoreApplication::applicationFilePath());
}

const char* const kNoGdiPlus = "GDI+ 初始化失败";
const char* const kNoIcon = "ExtractIconExW/SHGetFileInfo 失败, 无法获取图标";
const char* const kNoBitmap = "GDI+ Bitmap 创建失败";

struct InventoryFault {
    const char* call;
    std::vector<Break> breaks;
    const char* lost;           ///< of the entry, in the order of lostOf()
    const char* line = nullptr; ///< of the icon that is written for a window
};

using C = InventorySystemCalls;
constexpr UINT kNoFile = static_cast<UINT>(-1);
const Break kNoSize = kGivesNothing<&C::privateExtractIcons>;
const Break kNoFirst = kGivesNothing<&C::extractIconEx>;

const InventoryFault kFaults[] = {
    {"none", {}, ""},
    {"OpenProcess", {kGivesNothing<&C::openProcess>}, "path, file name"},
    {"QueryFullProcessImageNameW", {kGivesNothing<&C::queryFullProcessImageName>}, "path"},
    {"GetModuleBaseNameW", {kGivesNothing<&C::getModuleBaseName>}, "file name"},
    {"EnumWindows", {kGivesNothing<&C::enumWindows>}, "window"},
    {"GetFileVersionInfoSizeW", {kGivesNothing<&C::getFileVersionInfoSize>}, "version name"},
    {"GetFileVersionInfoW", {kGivesNothing<&C::getFileVersionInfo>}, "version name"},
    {"VerQueryValueW", {kGivesNothing<&C::verQueryValue>}, "version name"},
    {"GetTempPathW", {kGivesNothing<&C::getTempPath>}, "icon"},
    {"GetTempPathW, too long", {answers<&C::getTempPath, DWORD{MAX_PATH + 2}>}, "icon"},
    {"CreateDirectoryW", {kGivesNothing<&C::createDirectory>}, "icon"},
    {"GetFileAttributesW", {answers<&C::getFileAttributes, INVALID_FILE_ATTRIBUTES>}, ""},
    {"MoveFileExW", {kGivesNothing<&C::moveFile>}, "icon"},
    {"PrivateExtractIconsW", {kNoSize}, ""},
    {"PrivateExtractIconsW, no file", {answers<&C::privateExtractIcons, kNoFile>}, ""},
    {"ExtractIconExW too", {kNoSize, kNoFirst}, ""},
    {"CoInitializeEx", {kNoSize, kNoFirst, answers<&C::initializeCom, E_OUTOFMEMORY>}, ""},
    {"CoInitializeEx, another model",
     {kNoSize, kNoFirst, answers<&C::initializeCom, RPC_E_CHANGED_MODE>},
     ""},
    {"SHGetFileInfoW too", {kNoSize, kNoFirst, shellKnowsNoIconOfTheFile}, "icon"},
    {"SHGetFileInfoW of any program too",
     {kNoSize, kNoFirst, kGivesNothing<&C::getFileInfo>},
     "icon, window's icon",
     kNoIcon},
    {"GdiplusStartup", {kGdiPlusFails<&C::startGdiPlus>}, "icon, window's icon", kNoGdiPlus},
    {"GdipCreateBitmapFromHICON",
     {kGdiPlusFails<&C::createBitmapFromIcon>},
     "icon, window's icon",
     kNoBitmap},
    {"GdipCreateBitmapFromScan0",
     {kGdiPlusFails<&C::createBitmapFromScan0>},
     "icon, window's icon",
     kNoBitmap},
    {"GdipGetImageGraphicsContext",
     {kGdiPlusFails<&C::getImageGraphicsContext>},
     "icon, window's icon",
     kNoBitmap},
    {"GdipSetInterpolationMode", {kGdiPlusFails<&C::setInterpolationMode>}, "icon, window's icon", kNoBitmap},
    {"GdipSetSmoothingMode", {kGdiPlusFails<&C::setSmoothingMode>}, "icon, window's icon", kNoBitmap},
    {"GdipSetPixelOffsetMode", {kGdiPlusFails<&C::setPixelOffsetMode>}, "icon, window's icon", kNoBitmap},
    {"GdipDrawImageRectI", {kGdiPlusFails<&C::drawImageRect>}, "icon, window's icon", kNoBitmap},
    {"GdipGetImageEncodersSize", {kGdiPlusFails<&C::getImageEncodersSize>}, "icon"},
    {"GdipGetImageEncoders", {kGdiPlusFails<&C::getImageEncoders>}, "icon"},
    {"no encoder for PNG", {noEncoderForPng}, "icon"},
    {"GdipSaveImageToFile", {kGdiPlusFails<&C::saveImageToFile>}, "icon"},
};

bool isIcon(const QString& path) {
    return QFile::exists(path) && QImage(path).size() == QSize(128, 128);
}

// What an entry of this program, with a window, misses.
std::string lostOf(const Calls& calls, const QString& windowIcon) {
    QStringList lost;
    const auto expect = [&lost](bool there, const char* what) {
        if (!there) {
            lost.append(QLatin1String(what));
        }
    };
    const DWORD self = GetCurrentProcessId();
    expect(processImagePath(calls.table, self).endsWith(QLatin1String("windows_system_test.exe")), "path");
    expect(processFileName(calls.table, self) == QLatin1String("windows_system_test.exe"), "file name");
    expect(versionDisplayName(calls.table, ownProgramFile().toStdWString()) == L"Vexo Deck", "version name");
    expect(std::ranges::any_of(topLevelWindows(calls.table),
                               [&](const TopLevelWindow& window) { return window.processId == self; }),
           "window");
    const QString icon = extractIconToFile(calls.table, ownProgramFile(), self);
    expect(isIcon(icon), "icon");
    // Nothing half made is left.
    EXPECT_EQ(QDir(calls.temporary.path() + "/VexoDeck/icons").entryList(QDir::Files).size(),
              icon.isEmpty() ? 0 : 1);
    saveIconAsyncToFile(calls.table, ownProgramFile(), self, windowIcon);
    QThreadPool::globalInstance()->waitForDone();
    expect(isIcon(windowIcon), "window's icon");
    return lost.join(QLatin1String(", ")).toStdString();
}

} // namespace

TEST(InventoryFaults, EachCallThatFailsTakesItsPieceOfTheEntryAndNothingElse) {
    const HWND window = CreateWindowExW(0, L"STATIC", L"vexo faults", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                                        100, 100, nullptr, nullptr, nullptr, nullptr);
    for (const InventoryFault& fault : kFaults) {
        SCOPED_TRACE(fault.call);
        Calls calls;
        for (const Break apply : fault.breaks) {
            apply(calls);
        }
        const QTemporaryDir folder;
        const LogCapture log;
        EXPECT_EQ(lostOf(calls, folder.filePath("window.png")), fault.lost);
        EXPECT_GE(calls.failures, static_cast<int>(fault.breaks.size()));
        EXPECT_EQ(log.texts(QtWarningMsg),
                  fault.line == nullptr ? QStringList() : QStringList(QString::fromUtf8(fault.line)));
        EXPECT_EQ(calls.iconsTaken, calls.iconsDestroyed);
        EXPECT_EQ(calls.apartmentsEntered, calls.apartmentsLeft);
    }
    DestroyWindow(window);
}

TEST(InventoryFaults, SizesAreAskedForFromTheLargestThenTheFirstIconThenTheShell) {
    Calls calls;
    std::string asked;
    calls.table.privateExtractIcons = [&](const wchar_t*, int size, HICON*) {
        asked += std::to_string(size) + ' ';
        return 0u;
    };
    calls.table.extractIconEx = [&](const wchar_t*, HICON*, HICON*) {
        asked += "first ";
        return 0u;
    };
    calls.table.getFileInfo = [&](const wchar_t* path, SHFILEINFOW*, UINT flags) -> DWORD_PTR {
        asked += (std::wstring_view(path) == L".exe" ? "any " : "shell ") + std::to_string(flags) + ' ';
        return 0;
    };
    QImage picture;
    EXPECT_EQ(drawIcon(calls.table, L"C:\\player.exe", false, picture), IconStep::Icon);
    EXPECT_EQ(asked, "256 128 64 48 32 first shell 256 ");
    asked.clear();
    EXPECT_EQ(drawIcon(calls.table, L"C:\\player.exe", true, picture), IconStep::Icon);
    EXPECT_EQ(asked, "256 128 64 48 32 first shell 256 any 272 ");
}

TEST(InventoryFaults, ShellIsAskedInAnApartmentAndTheThreadLeavesOnlyWhatItEntered) {
    struct Row {
        const char* thread;
        std::optional<DWORD> model; ///< that the thread is in before
        APTTYPE apartment;          ///< that the shell is asked in
        int entered;
    };
    const auto apartment = [] {
        APTTYPE type = APTTYPE_CURRENT;
        APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
        const HRESULT result = CoGetApartmentType(&type, &qualifier);
        return SUCCEEDED(result) && qualifier == APTTYPEQUALIFIER_NONE ? type : APTTYPE_CURRENT;
    };
    for (const Row& row : {Row{"in none", std::nullopt, APTTYPE_MTA, 1},
                           Row{"in the multithreaded one", COINIT_MULTITHREADED, APTTYPE_MTA, 1},
                           Row{"in one of its own", COINIT_APARTMENTTHREADED, APTTYPE_STA, 0}}) {
        SCOPED_TRACE(row.thread);
        Calls calls;
        kNoSize(calls);
        kNoFirst(calls);
        APTTYPE asked = APTTYPE_CURRENT;
        calls.table.getFileInfo = [&](const wchar_t*, SHFILEINFOW*, UINT) -> DWORD_PTR {
            asked = apartment();
            return 0;
        };
        std::thread([&] {
            if (row.model) {
                ASSERT_EQ(CoInitializeEx(nullptr, *row.model), S_OK);
            }
            const APTTYPE before = apartment();
            QImage picture;
            EXPECT_EQ(drawIcon(calls.table, L"C:\\player.exe", false, picture), IconStep::Icon);
            EXPECT_EQ(apartment(), before);
            if (row.model) {
                CoUninitialize();
            }
        }).join();
        // Of threads with a queue of messages the first one's is the main one.
        EXPECT_EQ(asked == APTTYPE_MAINSTA ? APTTYPE_STA : asked, row.apartment);
        EXPECT_EQ(calls.apartmentsEntered, row.entered);
        EXPECT_EQ(calls.apartmentsLeft, row.entered);
    }
}

TEST(InventoryFaults, LargeIconWinsAndTheHandleOneIsNone) {
    const HICON kOne = reinterpret_cast<HICON>(ULONG_PTR{1});
    struct Row {
        const char* what;
        bool large;
        bool small;
        HICON otherwise;
        int drawnWidth; ///< of the icon that is drawn; 0 for none
    };
    for (const Row& row :
         {Row{"both", true, true, nullptr, 32}, Row{"small alone", false, true, nullptr, 16},
          Row{"large alone", true, false, nullptr, 32}, Row{"small behind a one", false, true, kOne, 16},
          Row{"ones alone", false, false, kOne, 0}, Row{"none", false, false, nullptr, 0}}) {
        SCOPED_TRACE(row.what);
        Calls calls;
        kNoSize(calls);
        kGivesNothing<&C::getFileInfo>(calls);
        const auto iconOf = [](int width) {
            const std::vector<BYTE> bits(static_cast<std::size_t>(width * width * 4));
            return CreateIcon(nullptr, width, width, 1, 32, bits.data(), bits.data());
        };
        calls.table.extractIconEx = [&](const wchar_t*, HICON* large, HICON* small) {
            *large = row.large ? iconOf(32) : row.otherwise;
            *small = row.small ? iconOf(16) : row.otherwise;
            calls.iconsTaken += (row.large ? 1 : 0) + (row.small ? 1 : 0);
            return 2u;
        };
        int width = 0;
        calls.table.createBitmapFromIcon = [&](HICON icon, Gdiplus::GpBitmap** bitmap) {
            ICONINFO info{};
            BITMAP mask{};
            EXPECT_NE(GetIconInfo(icon, &info), 0);
            GetObjectW(info.hbmMask, sizeof(mask), &mask);
            width = mask.bmWidth;
            DeleteObject(info.hbmMask);
            DeleteObject(info.hbmColor);
            return windowsInventorySystemCalls().createBitmapFromIcon(icon, bitmap);
        };
        QImage picture;
        EXPECT_EQ(drawIcon(calls.table, L"C:\\player.exe", false, picture),
                  row.drawnWidth == 0 ? IconStep::Icon : IconStep::Done);
        EXPECT_EQ(width, row.drawnWidth);
        EXPECT_EQ(calls.iconsTaken, calls.iconsDestroyed);
    }
}

TEST(InventoryFaults, IconThatIsThereIsNotMadeAgainAndAFolderInItsPlaceIsNone) {
    Calls calls;
    const QString path = calls.temporary.path() + "/VexoDeck/icons/windows_system_test.png";
    ASSERT_TRUE(QDir().mkpath(path));
    EXPECT_EQ(extractIconToFile(calls.table, ownProgramFile(), 7), QString());
    ASSERT_TRUE(QDir().rmdir(path));
    EXPECT_EQ(extractIconToFile(calls.table, ownProgramFile(), 7), path);
    const int taken = calls.iconsTaken;
    EXPECT_GE(taken, 2);
    EXPECT_EQ(extractIconToFile(calls.table, ownProgramFile(), 7), path);
    EXPECT_EQ(calls.iconsTaken, taken);
}
