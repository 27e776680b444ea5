#pragma once

// The lines of key files: groups in brackets, and keys with values, as desktop entries and the indexes of
// icon themes have them. Plain functions for any thread.

#include <QByteArrayView>

/// Calls `take(group, key, value)` for each line with a key, in order; all three are trimmed, the value as it
/// stands. Comments, and what is no line of a key file, are passed over.
template <typename Take>
void readKeyFile(QByteArrayView text, const Take& take) {
    QByteArrayView group;
    for (qsizetype begin = 0; begin < text.size();) {
        const qsizetype newline = text.indexOf('\n', begin);
        const qsizetype end = newline < 0 ? text.size() : newline;
        const QByteArrayView line = text.sliced(begin, end - begin).trimmed();
        begin = end + 1;
        if (line.startsWith('[')) {
            group = line.endsWith(']') ? line.sliced(1, line.size() - 2) : QByteArrayView();
            continue;
        }
        const qsizetype equals = line.indexOf('=');
        if (equals > 0 && !line.startsWith('#')) {
            take(group, line.first(equals).trimmed(), line.sliced(equals + 1).trimmed());
        }
    }
}
