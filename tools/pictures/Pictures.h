#pragma once

#include <QDir>
#include <QString>

#include <functional>

class QImage;
class QQmlApplicationEngine;
class QQuickWindow;

// What the parts of the program share.

/// Lets every transition of a page end. `everyPeriod`, if one is given, runs meanwhile at the pace of the
/// level reports.
void settle(const std::function<void()>& everyPeriod = {});

/// Settles, then writes a picture of the window, FOLDER/`state`.png. False and a line if that fails.
bool savePicture(QQuickWindow& window, const QDir& folder, const QString& state,
                 const std::function<void()>& everyPeriod = {});

/// Writes FOLDER/`state`.png. False and a line if that fails.
bool writePicture(const QImage& picture, const QDir& folder, const QString& state);

// `engine` has the main window's document, `window` is that window.

/// Question and firmware upgrade.
bool takeUpgradePictures(QQmlApplicationEngine& engine, QQuickWindow& window, const QDir& folder);

/// The windows of the menu, of the factory reset and of an installer that does not start.
bool takeWindowPictures(QQmlApplicationEngine& engine, QQuickWindow& window, const QDir& folder);

/// Mixer, equaliser and automatic gain.
bool takeMixerPictures(QQmlApplicationEngine& engine, QQuickWindow& window, const QDir& folder);

/// Every control of the library, in each of its states. `engine` is empty.
bool takeGalleryPicture(QQmlApplicationEngine& engine, const QDir& folder);
