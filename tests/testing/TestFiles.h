// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFile>
#include <QTest>

#include <cstdio>

/// Files by the bytes of their paths, which need not be UTF-8.
inline void writeFile(const QByteArray& path, const QByteArray& bytes) {
    FILE* stream = std::fopen(path.constData(), "wb");
    QVERIFY2(stream != nullptr, path.constData());
    std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), stream);
    std::fclose(stream);
}
inline void writeFile(const QString& path, const QByteArray& bytes) {
    writeFile(QFile::encodeName(path), bytes);
}

/// Empty where there is no file to read.
inline QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}
