#include "platform/IconHelper.h"

std::optional<int> serveAsIconHelper(int, char*[]) {
    return std::nullopt;
}

std::shared_ptr<void> holdIconHelper() {
    return nullptr;
}

void giveUpIcons(bool) {}
