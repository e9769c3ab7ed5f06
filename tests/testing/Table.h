// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QTest>

#include <type_traits>

/// The columns of a table of test data, by their types and names, and its rows:
///     const Table<QString, int> row("text", "length");
///     row("umlaut", "\xc3\xa4", 1);
template <typename... Types>
class Table {
    /// Also from a literal in UTF-8.
    struct Text : QString {
        Text(const char* utf8) : QString(QString::fromUtf8(utf8)) {}
        Text(QString text) : QString(std::move(text)) {}
    };
    template <typename Type>
    using Given = std::conditional_t<std::is_same_v<Type, QString>, Text, Type>;

 public:
    template <typename... Names>
    explicit Table(Names... names) {
        (QTest::addColumn<Types>(names), ...);
    }
    void operator()(const char* name, const Given<Types>&... values) const {
        (QTest::newRow(name) << ... << static_cast<const Types&>(values));
    }
};
