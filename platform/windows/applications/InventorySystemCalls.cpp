#include "platform/windows/applications/InventorySystemCalls.h"

#include <objbase.h>
#include <psapi.h>

namespace {

namespace Flat = Gdiplus::DllExports;

// Alive to the end of the process: GDI+ is never shut down.
Gdiplus::GpStatus startGdiPlusOnce() {
    static const Gdiplus::GpStatus status = [] {
        const Gdiplus::GdiplusStartupInput input;
        ULONG_PTR token = 0;
        return Gdiplus::GdiplusStartup(&token, &input, nullptr);
    }();
    return status;
}

DWORD fileVersionInfoSize(const wchar_t* path) {
    DWORD unused = 0;
    return GetFileVersionInfoSizeW(path, &unused);
}

} // namespace

const InventorySystemCalls& windowsInventorySystemCalls() {
    static const InventorySystemCalls calls{
        .openProcess = [](DWORD rights, DWORD processId) { return OpenProcess(rights, FALSE, processId); },
        .queryFullProcessImageName =
            [](HANDLE process, wchar_t* path, DWORD* length) {
                return QueryFullProcessImageNameW(process, 0, path, length);
            },
        .getModuleBaseName = [](HANDLE process, wchar_t* name,
                                DWORD length) { return GetModuleBaseNameW(process, nullptr, name, length); },
        .enumWindows = EnumWindows,
        .getFileVersionInfoSize = fileVersionInfoSize,
        .getFileVersionInfo = [](const wchar_t* path, DWORD size,
                                 void* block) { return GetFileVersionInfoW(path, 0, size, block); },
        .verQueryValue = VerQueryValueW,
        .privateExtractIcons =
            [](const wchar_t* path, int size, HICON* icon) {
                UINT id = 0;
                return PrivateExtractIconsW(path, 0, size, size, icon, &id, 1, 0);
            },
        .extractIconEx = [](const wchar_t* path, HICON* large,
                            HICON* small) { return ExtractIconExW(path, 0, large, small, 1); },
        .initializeCom = [] { return CoInitializeEx(nullptr, COINIT_MULTITHREADED); },
        .uninitializeCom = CoUninitialize,
        .getFileInfo =
            [](const wchar_t* path, SHFILEINFOW* info, UINT flags) {
                return SHGetFileInfoW(path, FILE_ATTRIBUTE_NORMAL, info, sizeof(*info), flags);
            },
        .destroyIcon = DestroyIcon,
        .getTempPath = GetTempPathW,
        .createDirectory = [](const wchar_t* path) { return CreateDirectoryW(path, nullptr); },
        .getFileAttributes = GetFileAttributesW,
        .moveFile = [](const wchar_t* from,
                       const wchar_t* to) { return MoveFileExW(from, to, MOVEFILE_REPLACE_EXISTING); },
        .startGdiPlus = startGdiPlusOnce,
        .createBitmapFromIcon = Flat::GdipCreateBitmapFromHICON,
        .createBitmapFromScan0 =
            [](INT width, INT height, INT stride, BYTE* memory, Gdiplus::GpBitmap** bitmap) {
                return Flat::GdipCreateBitmapFromScan0(width, height, stride, PixelFormat32bppARGB, memory,
                                                       bitmap);
            },
        .getImageGraphicsContext = Flat::GdipGetImageGraphicsContext,
        .setInterpolationMode = Flat::GdipSetInterpolationMode,
        .setSmoothingMode = Flat::GdipSetSmoothingMode,
        .setPixelOffsetMode = Flat::GdipSetPixelOffsetMode,
        .drawImageRect =
            [](Gdiplus::GpGraphics* graphics, Gdiplus::GpImage* image, INT width, INT height) {
                return Flat::GdipDrawImageRectI(graphics, image, 0, 0, width, height);
            },
        .getImageEncodersSize = Flat::GdipGetImageEncodersSize,
        .getImageEncoders = Flat::GdipGetImageEncoders,
        .saveImageToFile =
            [](Gdiplus::GpImage* image, const wchar_t* path, const CLSID& encoder) {
                return Flat::GdipSaveImageToFile(image, path, &encoder, nullptr);
            },
    };
    return calls;
}
