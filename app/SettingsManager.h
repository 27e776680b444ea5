#pragma once

#include <QColor>
#include <QObject>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVariant>

#include <chrono>

/// The program's one persistent key-value store, a process-wide singleton over one QSettings object.
///
/// It stores whatever it is given and knows neither keys nor defaults. QML has it as singleton type
/// `SettingsManager` of module `VexoDeckSettings`. Main thread only; QSettings does the locking against other
/// processes. No operation fails: a damaged store reads as empty, and a store that cannot be written keeps
/// its values for the rest of the run. Changes are written together, at most `writeDelay` after the first of
/// them and when the program quits, since a dragged slider changes a value with each of its steps.
class SettingsManager : public QObject {
    Q_OBJECT

public:
    /// The process-wide object, made at the first call and alive to the end of the process. Unguarded: the
    /// first call is on the main thread.
    static SettingsManager* instance();

    /// Changes are collected, since a write replaces the whole file and waits for the disk.
    static constexpr std::chrono::milliseconds kWriteDelay{500};

    explicit SettingsManager(std::chrono::milliseconds writeDelay = kWriteDelay, QObject* parent = nullptr);
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

signals:
    void valueChanged(const QString& key, const QVariant& value);

protected:
    /// Takes the event by which the store asks itself to be written, after each turn of the event loop with a
    /// change, and starts the delay in its place.
    bool eventFilter(QObject* watched, QEvent* event) override;

    /// Child of this object, never null after construction; every operation has a fallback all the same.
    QSettings* settings = nullptr;

private:
    QTimer writeTimer;
};
