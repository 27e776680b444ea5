#include "platform/windows/applications/IconExtraction.h"

#include "inventory/ProgramFiles.h"
#include "platform/InventorySources.h"

#include <QDir>
#include <QFileInfo>

#include <array>
#include <cstddef>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace {

namespace Flat = Gdiplus::DllExports;

struct DestroyIconHandle {
    using pointer = HICON;
    const InventorySystemCalls* calls;
    void operator()(HICON icon) const { calls->destroyIcon(icon); }
};
using IconHandle = std::unique_ptr<HICON, DestroyIconHandle>;

// This thread in the multithreaded apartment, unless it is in one of its own, which serves as well.
class InApartment {
public:
    explicit InApartment(const InventorySystemCalls& systemCalls)
        : calls(systemCalls), entered(SUCCEEDED(calls.initializeCom())) {}
    ~InApartment() {
        if (entered) {
            calls.uninitializeCom();
        }
    }
    InApartment(const InApartment&) = delete;
    InApartment& operator=(const InApartment&) = delete;

private:
    const InventorySystemCalls& calls;
    const bool entered;
};

IconHandle shellIconOf(const InventorySystemCalls& calls, const std::wstring& path, UINT flags) {
    const InApartment apartment(calls);
    SHFILEINFOW info{};
    const bool found = calls.getFileInfo(path.c_str(), &info, flags) != 0;
    return IconHandle(found ? info.hIcon : nullptr, {&calls});
}

IconHandle iconOf(const InventorySystemCalls& calls, const std::wstring& path) {
    for (const int size : kIconSizes) {
        HICON icon = nullptr;
        const UINT count = calls.privateExtractIcons(path.c_str(), size, &icon);
        if (count != 0 && count != static_cast<UINT>(-1) && icon != nullptr) {
            return IconHandle(icon, {&calls});
        }
    }
    HICON large = nullptr;
    HICON small = nullptr;
    calls.extractIconEx(path.c_str(), &large, &small);
    // The value 1 means that the file is no executable.
    const auto isIcon = [](HICON icon) {
        return reinterpret_cast<ULONG_PTR>(icon) > 1;
    };
    IconHandle largeIcon(isIcon(large) ? large : nullptr, {&calls});
    IconHandle smallIcon(isIcon(small) ? small : nullptr, {&calls});
    if (largeIcon != nullptr) {
        return largeIcon;
    }
    if (smallIcon != nullptr) {
        return smallIcon;
    }
    return shellIconOf(calls, path, SHGFI_ICON);
}

// An icon on its canvas: the canvas's memory, the bitmap of the icon, and that of the canvas.
struct Drawing {
    QImage memory;
    Gdiplus::GpBitmap* source = nullptr;
    Gdiplus::GpBitmap* canvas = nullptr;
    Gdiplus::GpGraphics* graphics = nullptr;

    Drawing() = default;
    Drawing(const Drawing&) = delete;
    Drawing& operator=(const Drawing&) = delete;
    ~Drawing() {
        finish();
        for (Gdiplus::GpBitmap* const bitmap : {canvas, source}) {
            if (bitmap != nullptr) {
                Flat::GdipDisposeImage(bitmap);
            }
        }
    }
    // Nothing more is drawn.
    void finish() {
        if (graphics != nullptr) {
            Flat::GdipDeleteGraphics(graphics);
            graphics = nullptr;
        }
    }
};

IconStep draw(const InventorySystemCalls& calls, const std::wstring& executablePath, bool orAnyProgram,
              Drawing& drawing) {
    using Gdiplus::Ok;
    if (calls.startGdiPlus() != Ok) {
        return IconStep::GdiPlus;
    }
    IconHandle icon = iconOf(calls, executablePath);
    if (icon == nullptr && orAnyProgram) {
        icon = shellIconOf(calls, L".exe", SHGFI_ICON | SHGFI_USEFILEATTRIBUTES);
    }
    if (icon == nullptr) {
        return IconStep::Icon;
    }
    drawing.memory = QImage(kIconFileSize, kIconFileSize, QImage::Format_ARGB32);
    drawing.memory.fill(Qt::transparent);
    const auto stride = static_cast<INT>(drawing.memory.bytesPerLine());
    const bool drawn =
        calls.createBitmapFromIcon(icon.get(), &drawing.source) == Ok &&
        calls.createBitmapFromScan0(kIconFileSize, kIconFileSize, stride, drawing.memory.bits(),
                                    &drawing.canvas) == Ok &&
        calls.getImageGraphicsContext(drawing.canvas, &drawing.graphics) == Ok &&
        calls.setInterpolationMode(drawing.graphics, Gdiplus::InterpolationModeHighQualityBicubic) == Ok &&
        calls.setSmoothingMode(drawing.graphics, Gdiplus::SmoothingModeHighQuality) == Ok &&
        calls.setPixelOffsetMode(drawing.graphics, Gdiplus::PixelOffsetModeHighQuality) == Ok &&
        calls.drawImageRect(drawing.graphics, drawing.source, kIconFileSize, kIconFileSize) == Ok;
    drawing.finish();
    return drawn ? IconStep::Done : IconStep::Bitmap;
}

// The class of GDI+'s encoder for PNG.
std::optional<CLSID> pngEncoder(const InventorySystemCalls& calls) {
    UINT count = 0;
    UINT byteCount = 0;
    if (calls.getImageEncodersSize(&count, &byteCount) != Gdiplus::Ok || byteCount == 0) {
        return std::nullopt;
    }
    // The records come first, the texts that they point to behind them.
    std::vector<Gdiplus::ImageCodecInfo> encoders(byteCount / sizeof(Gdiplus::ImageCodecInfo) + 1);
    if (calls.getImageEncoders(count, byteCount, encoders.data()) != Gdiplus::Ok) {
        return std::nullopt;
    }
    for (const Gdiplus::ImageCodecInfo& encoder : std::span(encoders).first(count)) {
        if (std::wcscmp(encoder.MimeType, L"image/png") == 0) {
            return encoder.Clsid;
        }
    }
    return std::nullopt;
}

} // namespace

IconStep drawIcon(const InventorySystemCalls& calls, const std::wstring& executablePath, bool orAnyProgram,
                  QImage& picture) {
    Drawing drawing;
    const IconStep step = draw(calls, executablePath, orAnyProgram, drawing);
    // A copy: the canvas ends with the drawing.
    picture = step == IconStep::Done ? drawing.memory.copy() : QImage();
    return step;
}

bool writeIcon(const InventorySystemCalls& calls, const std::wstring& executablePath,
               const std::wstring& targetPath) {
    Drawing drawing;
    if (draw(calls, executablePath, false, drawing) != IconStep::Done) {
        return false;
    }
    const std::optional<CLSID> encoder = pngEncoder(calls);
    if (!encoder) {
        return false;
    }
    // Two threads may make the same icon: each writes a file of its own, and the later one stays.
    const std::wstring ownPath = targetPath + L'.' + std::to_wstring(GetCurrentThreadId());
    const bool saved = calls.saveImageToFile(drawing.canvas, ownPath.c_str(), *encoder) == Gdiplus::Ok &&
                       calls.moveFile(ownPath.c_str(), targetPath.c_str()) != 0;
    if (!saved) {
        DeleteFileW(ownPath.c_str());
    }
    return saved;
}

QString temporaryFolder(const InventorySystemCalls& calls) {
    std::array<wchar_t, MAX_PATH + 1> path{};
    const DWORD length = calls.getTempPath(static_cast<DWORD>(path.size()), path.data());
    if (length == 0 || length >= path.size()) {
        return {};
    }
    QString folder = QDir::fromNativeSeparators(QString::fromWCharArray(path.data()));
    while (folder.endsWith(QLatin1Char('/'))) {
        folder.chop(1);
    }
    return folder;
}

void makeIconFolder(const InventorySystemCalls& calls, const QString& folder) {
    for (const QString& level : {QFileInfo(folder).path(), folder}) {
        calls.createDirectory(QDir::toNativeSeparators(level).toStdWString().c_str());
    }
}

QString extractIconToFile(const InventorySystemCalls& calls, const QString& executablePath,
                          std::uint32_t processId) {
    QString path = sessionIconPath(temporaryFolder(calls), executablePath, processId);
    if (path.isEmpty()) {
        return {};
    }
    makeIconFolder(calls, QFileInfo(path).path());
    const std::wstring nativePath = QDir::toNativeSeparators(path).toStdWString();
    // Made once: an icon stays until the temporary folder is cleared.
    const DWORD attributes = calls.getFileAttributes(nativePath.c_str());
    const bool isThere =
        attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
    return isThere || writeIcon(calls, executablePath.toStdWString(), nativePath) ? path : QString();
}

QString extractIconToFile(const QString& executablePath, std::uint32_t processId) {
    return extractIconToFile(windowsInventorySystemCalls(), executablePath, processId);
}
