#pragma once

// Reads a workbook through independent readers (Python's zipfile and openpyxl, by
// tests/support/workbook_dump.py) and gives the result to a test.

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "python.h"

#include <gtest/gtest.h>

#include <optional>

struct DumpedSheet
{
    QString title;
    QString part;
    QString dimension;
    QJsonArray hiddenRanges;
    QJsonArray rows;

    int rowCount() const { return static_cast<int>(rows.size()); }
    // 1-based row and column, as in the sheet; null past the row's end.
    QJsonValue cell(int row, int column) const
    {
        const QJsonArray r = rows.at(row - 1).toArray();
        return column - 1 < r.size() ? r.at(column - 1) : QJsonValue();
    }
    double number(int row, int column) const { return cell(row, column).toDouble(); }
    QString text(int row, int column) const { return cell(row, column).toString(); }
    // Row 1 as texts, empty ones too.
    QStringList headers() const { return QVariant(rows.at(0).toArray().toVariantList()).toStringList(); }
    // Number of cells in a row up to its last non-empty one.
    int usedColumns(int row) const
    {
        const QJsonArray r = rows.at(row - 1).toArray();
        int used = static_cast<int>(r.size());
        while (used > 0 && r.at(used - 1).isNull())
            --used;
        return used;
    }
};

struct DumpedWorkbook
{
    QStringList entries;
    QList<DumpedSheet> sheets;

    QStringList titles() const
    {
        QStringList out;
        for (const DumpedSheet& s : sheets)
            out << s.title;
        return out;
    }
    const DumpedSheet* sheet(const QString& title) const
    {
        for (const DumpedSheet& s : sheets)
            if (s.title == title)
                return &s;
        return nullptr;
    }
};

// Reads the workbooks in one reader process, in order; an empty list (and a test failure) if
// any cannot be read.
inline QList<DumpedWorkbook> readWorkbooks(const QStringList& paths)
{
    const PythonRun python = runSupportScript(QStringLiteral("workbook_dump.py"), paths);
    if (!python.ok) {
        ADD_FAILURE() << "workbook_dump.py failed on " << paths.join(u' ').toStdString() << ": " << python.err.toStdString();
        return {};
    }
    QJsonParseError error{};
    const QJsonArray dumps = QJsonDocument::fromJson(python.out, &error).array();
    if (error.error != QJsonParseError::NoError) {
        ADD_FAILURE() << "unreadable dump: " << error.errorString().toStdString();
        return {};
    }
    QList<DumpedWorkbook> books;
    for (const QJsonValue& dump : dumps) {
        const QJsonObject root = dump.toObject();
        DumpedWorkbook book;
        for (const QJsonValue& e : root.value(QStringLiteral("entries")).toArray())
            book.entries << e.toString();
        for (const QJsonValue& v : root.value(QStringLiteral("sheets")).toArray()) {
            const QJsonObject s = v.toObject();
            book.sheets.append(DumpedSheet{s.value(QStringLiteral("title")).toString(),
                s.value(QStringLiteral("part")).toString(), s.value(QStringLiteral("dimension")).toString(),
                s.value(QStringLiteral("hidden_ranges")).toArray(), s.value(QStringLiteral("rows")).toArray()});
        }
        books.append(book);
    }
    return books;
}

inline std::optional<DumpedWorkbook> readWorkbook(const QString& path)
{
    const QList<DumpedWorkbook> books = readWorkbooks({path});
    return books.size() == 1 ? std::optional(books.first()) : std::nullopt;
}
