#include "app/DarkLook.h"

#include <QColor>
#include <QGuiApplication>
#include <QQuickStyle>
#include <QStyleHints>

QPalette darkPalette() {
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(53, 53, 53));
    palette.setColor(QPalette::WindowText, Qt::white);
    palette.setColor(QPalette::Base, QColor(25, 25, 25));
    palette.setColor(QPalette::AlternateBase, QColor(53, 53, 53));
    // White on white is wanted: the program's own tool tips bring their colours.
    palette.setColor(QPalette::ToolTipBase, Qt::white);
    palette.setColor(QPalette::ToolTipText, Qt::white);
    palette.setColor(QPalette::Text, Qt::white);
    palette.setColor(QPalette::Button, QColor(53, 53, 53));
    palette.setColor(QPalette::ButtonText, Qt::white);
    palette.setColor(QPalette::BrightText, Qt::red);
    palette.setColor(QPalette::Link, QColor(42, 130, 218));
    palette.setColor(QPalette::Highlight, QColor(42, 130, 218));
    palette.setColor(QPalette::HighlightedText, Qt::black);
    return palette;
}

void applyDarkLook(QGuiApplication& application) {
    QQuickStyle::setStyle(QStringLiteral("Material"));
    QGuiApplication::setPalette(darkPalette());
    application.setProperty("darkMode", true);
    QGuiApplication::styleHints()->setColorScheme(Qt::ColorScheme::Dark);
}
