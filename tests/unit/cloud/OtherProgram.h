#pragma once

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>

#include <gtest/gtest.h>

/// A second program on the file of the events.
class OtherProgram {
public:
    explicit OtherProgram(const QString& file) {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "other");
        database.setDatabaseName(file);
        EXPECT_TRUE(database.open());
    }
    ~OtherProgram() {
        QSqlDatabase::database("other").close();
        QSqlDatabase::removeDatabase("other");
    }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;

    /// The first column of the first row.
    static QString ask(const QString& statement) {
        QSqlQuery query(QSqlDatabase::database("other"));
        EXPECT_TRUE(query.exec(statement)) << statement.toStdString();
        return query.next() ? query.value(0).toString() : QString();
    }
};
