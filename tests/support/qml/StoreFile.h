#pragma once

#include <QObject>
#include <QString>

// The file under the program's settings store, for tests: the singleton StoreFile of the module VexoDeckTest.
// The store is the real one, in a temporary folder. Main thread.
class StoreFile : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // Reads the file again, as a new start of the program does: every value is then the text of the file.
    Q_INVOKABLE void restart();
    // Replaces everything stored by lines of "key=value", as damage or another program might.
    Q_INVOKABLE void replace(const QStringList& lines);
    // Replaces the file by any bytes.
    Q_INVOKABLE void replaceFile(const QByteArray& content);
};

// Moves the store into a temporary folder, which is removed with the process, and registers the real
// SettingsManager as the module VexoDeckSettings, one for each engine, and StoreFile. Before anything is
// stored, once in a process.
void registerTemporarySettings();
