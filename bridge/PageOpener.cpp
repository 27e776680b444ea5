#include "bridge/PageOpener.h"

#include "bridge/SystemBridge.h"

#include <QDesktopServices>
#include <QLatin1StringView>
#include <QObject>
#include <QUrl>

#include <array>
#include <utility>

namespace {

constexpr std::array<QLatin1StringView, 2> kWebSchemes{QLatin1StringView("http"), QLatin1StringView("https")};

class PageOpener : public QObject {
    Q_OBJECT

public:
    explicit PageOpener(QPointer<SystemBridge> opener) : bridge(std::move(opener)) {
        for (const QLatin1StringView scheme : kWebSchemes) {
            QDesktopServices::setUrlHandler(scheme, this, "open");
        }
    }
    ~PageOpener() override {
        for (const QLatin1StringView scheme : kWebSchemes) {
            QDesktopServices::unsetUrlHandler(scheme);
        }
    }
    PageOpener(const PageOpener&) = delete;
    PageOpener& operator=(const PageOpener&) = delete;

public slots:
    void open(const QUrl& page) const {
        if (bridge) {
            bridge->openUrl(page.toString(QUrl::FullyEncoded));
        }
    }

private:
    QPointer<SystemBridge> bridge;
};

} // namespace

std::shared_ptr<void> openPagesWith(QPointer<SystemBridge> bridge) {
    if (!bridge || bridge->isWindows()) {
        return nullptr;
    }
    return std::make_shared<PageOpener>(std::move(bridge));
}

#include "PageOpener.moc"
