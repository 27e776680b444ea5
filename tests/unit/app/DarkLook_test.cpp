#include "app/DarkLook.h"

#include <QGuiApplication>
#include <QQuickStyle>
#include <qpa/qplatformtheme.h>

#include <gtest/gtest.h>
#include <private/qguiapplication_p.h>
#include <utility>
#include <vector>

namespace {

/// The theme of a light desktop while the object exists. Records the schemes that are requested: on a machine
/// without a desktop the platform has no theme.
class LightDesktop : public QPlatformTheme {
public:
    LightDesktop() : former(std::exchange(QGuiApplicationPrivate::platform_theme, this)) {}
    ~LightDesktop() override { QGuiApplicationPrivate::platform_theme = former; }
    LightDesktop(const LightDesktop&) = delete;
    LightDesktop& operator=(const LightDesktop&) = delete;

    [[nodiscard]] Qt::ColorScheme colorScheme() const override {
        return asked.empty() ? Qt::ColorScheme::Light : asked.back();
    }
    void requestColorScheme(Qt::ColorScheme scheme) override { asked.push_back(scheme); }

    std::vector<Qt::ColorScheme> asked;

private:
    QPlatformTheme* former;
};

} // namespace

TEST(DarkLookTest, EveryRoleHasItsOpaqueColourInEveryGroup) {
    const std::pair<QPalette::ColorRole, QColor> expected[] = {
        {QPalette::Window, QColor(53, 53, 53)},         {QPalette::WindowText, QColor(255, 255, 255)},
        {QPalette::Base, QColor(25, 25, 25)},           {QPalette::AlternateBase, QColor(53, 53, 53)},
        {QPalette::ToolTipBase, QColor(255, 255, 255)}, {QPalette::ToolTipText, QColor(255, 255, 255)},
        {QPalette::Text, QColor(255, 255, 255)},        {QPalette::Button, QColor(53, 53, 53)},
        {QPalette::ButtonText, QColor(255, 255, 255)},  {QPalette::BrightText, QColor(255, 0, 0)},
        {QPalette::Link, QColor(42, 130, 218)},         {QPalette::Highlight, QColor(42, 130, 218)},
        {QPalette::HighlightedText, QColor(0, 0, 0)},
    };
    const QPalette palette = darkPalette();
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        for (const auto& [role, colour] : expected) {
            EXPECT_EQ(palette.color(group, role), colour) << "role " << role << " group " << group;
        }
    }
}

TEST(DarkLookTest, LookIsDarkOnALightDesktop) {
    const LightDesktop desktop;
    QPalette light;
    light.setColor(QPalette::Window, Qt::white);
    QGuiApplication::setPalette(light);
    ASSERT_FALSE(qApp->property("darkMode").isValid());

    applyDarkLook(*qApp);

    EXPECT_EQ(qApp->property("darkMode"), QVariant(true));
    EXPECT_EQ(QGuiApplication::palette().color(QPalette::Window), QColor(53, 53, 53));
    EXPECT_EQ(QQuickStyle::name(), QStringLiteral("Material"));
    EXPECT_EQ(desktop.asked, std::vector{Qt::ColorScheme::Dark});
}

int main(int argc, char* argv[]) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleTest(&argc, argv);
    const QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
