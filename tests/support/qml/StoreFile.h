#pragma once

#include <QObject>
#include <QString>

// The file under the program's settings store, for tests: the singleton StoreFile of the module VexoDeckTest.
// The store is the real one, in a temporary folder. Main thread.
class StoreFile : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // What a new start of the program finds: every value has gone through the file, and comes back as the
    // text there.
    Q_INVOKABLE void restart();
    // Puts lines of "key=value" in the place of everything stored, as damage or another program would.
    Q_INVOKABLE void replace(const QStringList& lines);
    // Puts bytes that need not be a store at all in the place of the file.
    Q_INVOKABLE void replaceFile(const QByteArray& content);
};

// Moves the store into a temporary folder, which goes with the process, and registers the real
// SettingsManager as the module VexoDeckSettings, one for each engine, and StoreFile. Before anything is
// stored, once in a process.
void registerTemporarySettings();
