// SPDX-License-Identifier: GPL-3.0-or-later
#include "testing/Desktop.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

Desktop::Desktop(QSize size) : _environment(QProcessEnvironment::systemEnvironment()) {
    const auto set = [&](const char* name, const QString& value) {
        _environment.insert(QString::fromLatin1(name), value);
    };
    const auto folderFor = [&](const char* name, const char* sub) {
        QDir().mkpath(folder(QString::fromLatin1(sub)));
        set(name, folder(QString::fromLatin1(sub)));
    };
    folderFor("HOME", "home");
    folderFor("XDG_CONFIG_HOME", "config");
    folderFor("XDG_DATA_HOME", "data");
    folderFor("XDG_CACHE_HOME", "cache");
    folderFor("XDG_STATE_HOME", "state");
    folderFor("XDG_RUNTIME_DIR", "run");
    folderFor("TMPDIR", "tmp");
    QFile::setPermissions(folder(u"run"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    set("QT_QPA_PLATFORM", u"xcb"_s);
    set("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", u"1"_s);
    set("XDG_SESSION_TYPE", u"x11"_s);
    set("LC_ALL", u"C.UTF-8"_s);
    _environment.remove(u"WAYLAND_DISPLAY"_s);
    _environment.remove(u"LANGUAGE"_s);
    if (!startServer(size))
        _problem = u"no X server could be started (xvfb)"_s;
    else if (!startBus())
        _problem = u"no session bus could be started (dbus)"_s;
    else if (!startWindowManager())
        _problem = u"no window manager could be started (openbox)"_s;
}

Desktop::~Desktop() {
    for (QProcess* process : {_manager.get(), _bus.get(), _server.get()}) {
        if (process == nullptr)
            continue;
        process->terminate();
        if (!process->waitForFinished(5000))
            process->kill();
        process->waitForFinished(2000);
    }
}

std::unique_ptr<QProcess> Desktop::start(const QString& program, const QStringList& arguments) const {
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(_environment);
    process->setStandardErrorFile(QProcess::nullDevice());
    process->start(program, arguments);
    return process;
}

bool Desktop::startServer(QSize size) {
    const QString screen = u"%1x%2x24"_s.arg(size.width()).arg(size.height());
    // The server chooses a free display and prints its number.
    _server = start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, screen, u"-nolisten"_s,
                                u"tcp"_s, u"-noreset"_s});
    if (!_server->waitForStarted())
        return false;
    while (!_server->canReadLine())
        if (!_server->waitForReadyRead(20000))
            return false;
    const QString number = QString::fromLatin1(_server->readLine().trimmed());
    _environment.insert(u"DISPLAY"_s, u":"_s + number);
    return !number.isEmpty();
}

bool Desktop::startBus() {
    _bus = start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
    if (!_bus->waitForStarted())
        return false;
    while (!_bus->canReadLine())
        if (!_bus->waitForReadyRead(10000))
            return false;
    _environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, QString::fromLatin1(_bus->readLine().trimmed()));
    return true;
}

bool Desktop::startWindowManager() {
    _manager = start(u"openbox"_s, {});
    if (!_manager->waitForStarted())
        return false;
    return QTest::qWaitFor([&] {
        return run(u"xprop"_s, {u"-root"_s, u"_NET_SUPPORTING_WM_CHECK"_s}).contains(u"window id"_s);
    });
}

QString Desktop::run(const QString& program, const QStringList& arguments) const {
    const auto process = start(program, arguments);
    if (!process->waitForFinished(20000))
        process->kill();
    return QString::fromUtf8(process->readAllStandardOutput());
}

QString Desktop::xdotool(const QStringList& words) const {
    return run(u"xdotool"_s, words).trimmed();
}

QString Desktop::activeTitle() const {
    return xdotool({u"getactivewindow"_s, u"getwindowname"_s});
}

QStringList Desktop::windows(const QString& titlePattern) const {
    return xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, titlePattern})
        .split(u'\n', Qt::SkipEmptyParts);
}

void Desktop::bringToFront(const QString& titlePattern) const {
    QTRY_VERIFY_WITH_TIMEOUT(!windows(titlePattern).isEmpty(), 20000);
    xdotool({u"windowactivate"_s, u"--sync"_s, windows(titlePattern).constFirst()});
}

QImage Desktop::screenshot() const {
    const auto process = start(u"import"_s, {u"-silent"_s, u"-window"_s, u"root"_s, u"png:-"_s});
    process->waitForFinished(20000);
    return QImage::fromData(process->readAllStandardOutput(), "PNG").convertToFormat(QImage::Format_RGB32);
}

void Desktop::keepScreenshot(const QString& name) const {
    const QString folder = qEnvironmentVariable("TAVLIN_SCREENSHOTS");
    if (!folder.isEmpty())
        screenshot().save(QDir(folder).filePath(name + u".png"_s));
}

namespace {

QStringList mouseTo(QPoint screen) {
    return {u"mousemove"_s, u"--sync"_s, QString::number(screen.x()), QString::number(screen.y())};
}

QStringList withKeys(const char* verb, const QStringList& keys) {
    QStringList words;
    for (const QString& key : keys)
        words << QString::fromLatin1(verb) << key;
    return words;
}

}  // namespace

void Desktop::click(QPoint screen, int times, const QStringList& held, int button) const {
    QStringList words = mouseTo(screen) + withKeys("keydown", held);
    words << u"click"_s << u"--repeat"_s << QString::number(times) << u"--delay"_s << u"40"_s
          << QString::number(button);
    run(u"xdotool"_s, words + withKeys("keyup", held));
}

void Desktop::drag(QPoint from, QPoint to) const {
    QStringList words = mouseTo(from) << u"mousedown"_s << u"1"_s;
    constexpr int steps = 10;
    for (int i = 1; i <= steps; ++i)
        words << mouseTo(from + (to - from) * i / steps) << u"sleep"_s << u"0.025"_s;
    run(u"xdotool"_s, words << u"mouseup"_s << u"1"_s);
}

void Desktop::wheel(QPoint screen, int notches, const QStringList& held) const {
    click(screen, qAbs(notches), held, notches > 0 ? 5 : 4);
}

void Desktop::key(const QString& name) const {
    run(u"xdotool"_s, {u"key"_s, name});
}
