// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDir>
#include <QTemporaryDir>

#include <filesystem>
#include <system_error>

/// A home, settings, data and cache of the test's own, so that it neither sees nor touches the user's. Make
/// it the first thing of main, before the application object.
class TestHome {
 public:
    TestHome() {
        _root.setAutoRemove(false);
        set("HOME", "home");
        set("XDG_CONFIG_HOME", "config");
        set("XDG_DATA_HOME", "data");
        set("XDG_CACHE_HOME", "cache");
        set("XDG_STATE_HOME", "state");
        set("TMPDIR", "tmp");
        set("XDG_RUNTIME_DIR", "run");
        QFile::setPermissions(_root.filePath(QStringLiteral("run")),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    /// Names that are not UTF-8 go as well, which Qt's own removal passes over.
    ~TestHome() {
        std::error_code ignored;
        std::filesystem::remove_all(_root.path().toStdString(), ignored);
    }
    QString path() const { return _root.path(); }

 private:
    void set(const char* name, const char* folder) {
        const QString path = _root.filePath(QString::fromLatin1(folder));
        QDir().mkpath(path);
        qputenv(name, QFile::encodeName(path));
    }

    QTemporaryDir _root;
};
