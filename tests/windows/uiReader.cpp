// Prints what a screen reader meets in the window of the given title, through UI Automation: one line of JSON
// for each line of its input, in the form of tools/stage/ui.py.
//
//   uiReader TITLE      [{"name":...,"role":...,"extents":[x,y,width,height],"states":[...],...},...]

#include <cstdio>
#include <iostream>
#include <objbase.h>
#include <string>
#include <uiautomation.h>
#include <wrl/client.h>

using Microsoft::WRL::ComPtr;

namespace {

std::string utf8(const wchar_t* text) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
    result.resize(static_cast<std::size_t>(size > 0 ? size - 1 : 0));
    return result;
}

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char character : text) {
        if (character == '"' || character == '\\') {
            result += '\\';
        }
        if (static_cast<unsigned char>(character) >= 0x20) {
            result += character;
        }
    }
    return result + "\"";
}

const char* roleOf(CONTROLTYPEID type) {
    switch (type) {
    case UIA_ButtonControlTypeId:
        return "button";
    case UIA_TabItemControlTypeId:
        return "page tab";
    case UIA_SliderControlTypeId:
        return "slider";
    case UIA_TextControlTypeId:
        return "label";
    case UIA_CheckBoxControlTypeId:
        return "check box";
    case UIA_MenuItemControlTypeId:
        return "menu item";
    default:
        return "other";
    }
}

std::string describe(IUIAutomationElement* element) {
    BSTR name = nullptr;
    CONTROLTYPEID type = 0;
    RECT box{};
    BOOL offscreen = FALSE;
    static_cast<void>(element->get_CurrentName(&name));
    static_cast<void>(element->get_CurrentControlType(&type));
    static_cast<void>(element->get_CurrentBoundingRectangle(&box));
    static_cast<void>(element->get_CurrentIsOffscreen(&offscreen));
    const std::string text = name == nullptr ? std::string() : utf8(name);
    SysFreeString(name);
    return "{\"name\":" + quoted(text) + ",\"role\":\"" + roleOf(type) + "\",\"extents\":[" +
           std::to_string(box.left) + "," + std::to_string(box.top) + "," +
           std::to_string(box.right - box.left) + "," + std::to_string(box.bottom - box.top) +
           "],\"states\":" + (offscreen ? "[]" : "[\"showing\",\"visible\"]") +
           ",\"description\":\"\",\"value\":null,\"range\":null}";
}

// The element, and those below it.
void walk(IUIAutomationTreeWalker* walker, IUIAutomationElement* element, int depth, std::string& out) {
    if (depth > 60) {
        return;
    }
    ComPtr<IUIAutomationElement> child;
    static_cast<void>(walker->GetFirstChildElement(element, child.GetAddressOf()));
    while (child) {
        out += (out.empty() ? "" : ",") + describe(child.Get());
        walk(walker, child.Get(), depth + 1, out);
        ComPtr<IUIAutomationElement> next;
        static_cast<void>(walker->GetNextSiblingElement(child.Get(), next.GetAddressOf()));
        child = next;
    }
}

// All that is in the window, as one line; "[]" while there is no such window.
HRESULT readWindow(IUIAutomation* automation, const std::wstring& title, std::string& line) {
    line = "[]";
    const HWND window = FindWindowW(nullptr, title.c_str());
    if (window == nullptr) {
        return S_OK;
    }
    ComPtr<IUIAutomationElement> root;
    ComPtr<IUIAutomationCondition> everything;
    ComPtr<IUIAutomationTreeWalker> walker;
    HRESULT result = automation->ElementFromHandle(window, root.GetAddressOf());
    if (SUCCEEDED(result)) {
        result = automation->CreateTrueCondition(everything.GetAddressOf());
    }
    if (SUCCEEDED(result)) {
        result = automation->CreateTreeWalker(everything.Get(), walker.GetAddressOf());
    }
    if (SUCCEEDED(result)) {
        std::string controls = describe(root.Get());
        walk(walker.Get(), root.Get(), 0, controls);
        line = "[" + controls + "]";
    }
    return result;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: uiReader TITLE\n");
        return 2;
    }
    const std::string given = argv[1];
    const std::wstring title(given.begin(), given.end());
    static_cast<void>(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    ComPtr<IUIAutomation> automation;
    const HRESULT created =
        CoCreateInstance(__uuidof(CUIAutomation), nullptr, CLSCTX_INPROC_SERVER, __uuidof(IUIAutomation),
                         reinterpret_cast<void**>(automation.GetAddressOf()));
    if (FAILED(created)) {
        std::fprintf(stderr, "uiReader: no UI Automation: 0x%08lx\n", static_cast<unsigned long>(created));
        return 1;
    }
    for (std::string request; std::getline(std::cin, request);) {
        std::string line;
        // A failure: the window went away while it was read.
        static_cast<void>(readWindow(automation.Get(), title, line));
        std::cout << line << '\n' << std::flush;
    }
    return 0;
}
