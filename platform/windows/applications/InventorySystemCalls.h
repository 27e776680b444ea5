#pragma once

// The free functions of Windows that the inventories call: of processes, windows, version blocks, COM, icons
// and GDI+, in a table, so that tests can make each of them fail. Each returns what Windows' function of its
// name returns. Any thread.

#include "platform/windows/applications/GdiPlus.h"

#include <functional>
#include <shellapi.h>
#include <windows.h>

struct InventorySystemCalls {
    std::function<HANDLE(DWORD rights, DWORD processId)> openProcess;
    std::function<BOOL(HANDLE process, wchar_t* path, DWORD* length)> queryFullProcessImageName;
    /// GetModuleBaseNameW of the process's own image.
    std::function<DWORD(HANDLE process, wchar_t* name, DWORD length)> getModuleBaseName;
    std::function<BOOL(WNDENUMPROC callback, LPARAM value)> enumWindows;

    std::function<DWORD(const wchar_t* path)> getFileVersionInfoSize;
    std::function<BOOL(const wchar_t* path, DWORD size, void* block)> getFileVersionInfo;
    std::function<BOOL(const void* block, const wchar_t* name, void** value, UINT* length)> verQueryValue;

    /// The first icon of a file in this edge length, in pixels.
    std::function<UINT(const wchar_t* path, int size, HICON* icon)> privateExtractIcons;
    /// The first icon of a file.
    std::function<UINT(const wchar_t* path, HICON* large, HICON* small)> extractIconEx;
    /// CoInitializeEx with the multithreaded model: the shell requires it of the calling thread.
    std::function<HRESULT()> initializeCom;
    std::function<void()> uninitializeCom;
    std::function<DWORD_PTR(const wchar_t* path, SHFILEINFOW* info, UINT flags)> getFileInfo;
    std::function<void(HICON icon)> destroyIcon;

    std::function<DWORD(DWORD length, wchar_t* path)> getTempPath;
    std::function<BOOL(const wchar_t* path)> createDirectory;
    std::function<DWORD(const wchar_t* path)> getFileAttributes;
    /// Replaces an existing file.
    std::function<BOOL(const wchar_t* from, const wchar_t* to)> moveFile;

    /// GdiplusStartup, once in the process; the result of that one call.
    std::function<Gdiplus::GpStatus()> startGdiPlus;
    std::function<Gdiplus::GpStatus(HICON icon, Gdiplus::GpBitmap** bitmap)> createBitmapFromIcon;
    /// A bitmap of 32-bit ARGB over memory of the caller.
    std::function<Gdiplus::GpStatus(INT width, INT height, INT stride, BYTE* memory,
                                    Gdiplus::GpBitmap** bitmap)>
        createBitmapFromScan0;
    std::function<Gdiplus::GpStatus(Gdiplus::GpImage* image, Gdiplus::GpGraphics** graphics)>
        getImageGraphicsContext;
    std::function<Gdiplus::GpStatus(Gdiplus::GpGraphics* graphics, Gdiplus::InterpolationMode mode)>
        setInterpolationMode;
    std::function<Gdiplus::GpStatus(Gdiplus::GpGraphics* graphics, Gdiplus::SmoothingMode mode)>
        setSmoothingMode;
    std::function<Gdiplus::GpStatus(Gdiplus::GpGraphics* graphics, Gdiplus::PixelOffsetMode mode)>
        setPixelOffsetMode;
    /// From the upper left corner.
    std::function<Gdiplus::GpStatus(Gdiplus::GpGraphics* graphics, Gdiplus::GpImage* image, INT width,
                                    INT height)>
        drawImageRect;
    std::function<Gdiplus::GpStatus(UINT* count, UINT* bytes)> getImageEncodersSize;
    std::function<Gdiplus::GpStatus(UINT count, UINT bytes, Gdiplus::ImageCodecInfo* encoders)>
        getImageEncoders;
    std::function<Gdiplus::GpStatus(Gdiplus::GpImage* image, const wchar_t* path, const CLSID& encoder)>
        saveImageToFile;
};

/// Windows' own functions.
[[nodiscard]] const InventorySystemCalls& windowsInventorySystemCalls();
