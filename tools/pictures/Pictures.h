#pragma once

#include <QDir>
#include <QString>

#include <functional>

class QQmlApplicationEngine;
class QQuickWindow;

// What the parts of the program share. `engine` has the main window's document, with fake services.

/// Lets every transition of a page end. `everyPeriod`, if one is given, runs meanwhile at the pace of the
/// level reports.
void settle(const std::function<void()>& everyPeriod = {});

/// Settles, then writes a picture of the window, FOLDER/`state`.png. False and a line if that fails.
bool savePicture(QQuickWindow& window, const QDir& folder, const QString& state,
                 const std::function<void()>& everyPeriod = {});

/// Question and firmware upgrade.
bool takeUpgradePictures(QQmlApplicationEngine& engine, QQuickWindow& window, const QDir& folder);

/// Mixer, equaliser and automatic gain.
bool takeMixerPictures(QQmlApplicationEngine& engine, QQuickWindow& window, const QDir& folder);
