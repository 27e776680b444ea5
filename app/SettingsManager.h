#pragma once

#include <QColor>
#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVariant>

#include <chrono>

class FormerFile;

/// The program's one persistent key-value store, a process-wide singleton over one QSettings object.
///
/// It stores whatever it is given and knows neither keys nor defaults. What it reads back at the next start
/// is texts, numbers, truth values, bytes, and lists and maps of them; see StoredValues.h. QML has it as
/// singleton type `SettingsManager` of module `VexoDeckSettings`. Main thread only, but for rescue();
/// QSettings does the locking against other processes. No operation fails: a damaged store reads as empty
/// where it is damaged.
///
/// When a change is on the disk (`delay` is that of the constructor):
/// - At once: in the same turn of the event loop, before any other posted event. What one turn changes is
///   written together, since a write replaces the whole file and waits for the disk. Each write is followed
///   by a pause of three times its length, so that the screens get most of the time, however slow the disk
///   is.
/// - Within `delay`, where it is a step of a slider. The store sees no sliders: a further change of a key
///   within `delay` of the last one is taken for a step, unless the new value is a switch (a boolean) or a
///   list of another length. So the first step of a drag is written at once.
/// - Within `delay`, too, where a value is set again as it is.
/// What kills the process costs at most the steps of the last `delay`, and never the file, which is replaced
/// as a whole.
///
/// A write that fails is told once in the log and tried again every `kRetryDelay` and at the end of the
/// program until it succeeds; meanwhile the values hold for the run. Lines of the file that a write would
/// drop, because they are no settings or must not be read, are kept in one file beside it; see
/// SettingsFile.h.
class SettingsManager : public QObject {
    Q_OBJECT

public:
    /// The process-wide object, made at the first call and alive to the end of the process. Unguarded: the
    /// first call is on the main thread.
    static SettingsManager* instance();

    static constexpr std::chrono::milliseconds kWriteDelay{500};
    static constexpr std::chrono::milliseconds kRetryDelay{1000};
    /// Of the length of the write before it.
    static constexpr int kPauseLengths = 3;
    /// The part of the delay that a step waits for its write. The rest is for the write.
    static constexpr double kWaitingPart = 0.8;

    explicit SettingsManager(std::chrono::milliseconds delay = kWriteDelay, QObject* parent = nullptr);
    /// Writes what is pending.
    ~SettingsManager() override;

    /// Always writes; emits valueChanged(key, value) only if the old and the new value differ. An array or
    /// object of the script language is stored as the list or map that it stands for.
    Q_INVOKABLE void setValue(const QString& key, const QVariant& value);
    /// The stored value, or `defaultValue` (invalid where none is given). The native store decides which type
    /// it returns: text, where the platform keeps only text.
    Q_INVOKABLE [[nodiscard]] QVariant getValue(const QString& key,
                                                const QVariant& defaultValue = QVariant()) const;
    /// Removes the key; emits valueChanged(key, invalid) also for a key that was absent.
    Q_INVOKABLE void removeValue(const QString& key);
    Q_INVOKABLE [[nodiscard]] bool contains(const QString& key) const;

    /// Stores the colour's name, "#rrggbb" in lower case: alpha is lost. The signal carries the name.
    Q_INVOKABLE void setColor(const QString& key, const QColor& color);
    /// The colour of the stored name; a stored text that names no colour returns an invalid colour, not the
    /// default. An absent key returns `defaultColor` without its alpha, and black where the default is
    /// invalid: black is the name of an invalid colour.
    Q_INVOKABLE [[nodiscard]] QColor getColor(const QString& key,
                                              const QColor& defaultColor = QColor()) const;

    /// As setValue, the list as one value.
    Q_INVOKABLE void setStringList(const QString& key, const QStringList& list);
    /// The stored list; a single stored string is returned as a list of one.
    Q_INVOKABLE [[nodiscard]] QStringList getStringList(const QString& key,
                                                        const QStringList& defaultList = QStringList()) const;

    /// Writes what is pending and takes in what other processes wrote.
    Q_INVOKABLE void sync();
    /// Removes all keys; emits valueChanged once, with an empty key and an invalid value.
    Q_INVOKABLE void clear();
    Q_INVOKABLE [[nodiscard]] QStringList getAllKeys() const;

    /// Writes what is pending, on any thread, where the process ends in the midst of its run.
    void rescue();

signals:
    void valueChanged(const QString& key, const QVariant& value);

protected:
    bool event(QEvent* event) override;
    /// Takes the event by which the store asks itself to be written, after each turn of the event loop with a
    /// change, and starts the delay in its place.
    bool eventFilter(QObject* watched, QEvent* event) override;

    /// Child of this object. Null where the file must not be read: then the defaults hold, and nothing is
    /// stored in this run.
    QSettings* settings = nullptr;

private:
    using Clock = std::chrono::steady_clock;

    void openStore(const QString& product);
    [[nodiscard]] bool isStep(const QString& key, const QVariant& oldValue, const QVariant& newValue);
    void writeThisTurn();
    void writeStepsLater();
    void writeWithin(std::chrono::milliseconds limit);
    [[nodiscard]] bool writeStore();
    [[nodiscard]] bool writeFile();
    [[nodiscard]] qsizetype keyCount();
    void takeBack(const FormerFile& former);
    [[nodiscard]] bool isAsLeft(const QString& fileName) const;
    void noteSeen(const QString& fileName);
    [[nodiscard]] bool isReadable(const QString& fileName);
    [[nodiscard]] bool keepLinesOfOthers();

    const std::chrono::milliseconds writeDelay;
    QTimer writeTimer;
    QHash<QString, Clock::time_point> lastChanges; // of each key, for isStep()
    Clock::time_point pauseEnd;                    // of the pause after the last write
    bool writePosted = false;                      // an event that writes is under way to this object
    bool changed = false;                          // since the last write that succeeded
    bool failing = false;                          // the last write failed
    qint64 seenSize = -1;                          // of the file, as it was checked or written last
    QDateTime seenTime;
};
