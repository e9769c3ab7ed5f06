// SPDX-License-Identifier: GPL-3.0-or-later
#include "testing/Desktop.h"

#include <QDir>
#include <QFile>
#include <QTest>

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
    QFile::setPermissions(folder(QStringLiteral("run")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    set("QT_QPA_PLATFORM", QStringLiteral("xcb"));
    set("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", QStringLiteral("1"));
    set("XDG_SESSION_TYPE", QStringLiteral("x11"));
    set("LC_ALL", QStringLiteral("C.UTF-8"));
    _environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    _environment.remove(QStringLiteral("LANGUAGE"));
    if (!startServer(size))
        _problem = QStringLiteral("no X server could be started (xvfb)");
    else if (!startBus())
        _problem = QStringLiteral("no session bus could be started (dbus)");
    else if (!startWindowManager())
        _problem = QStringLiteral("no window manager could be started (openbox)");
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
    const QString screen = QStringLiteral("%1x%2x24").arg(size.width()).arg(size.height());
    // The server chooses a free display and prints its number.
    _server = start(
        QStringLiteral("Xvfb"),
        {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"), QStringLiteral("0"),
         screen, QStringLiteral("-nolisten"), QStringLiteral("tcp"), QStringLiteral("-noreset")});
    if (!_server->waitForStarted())
        return false;
    while (!_server->canReadLine())
        if (!_server->waitForReadyRead(20000))
            return false;
    const QString number = QString::fromLatin1(_server->readLine().trimmed());
    _environment.insert(QStringLiteral("DISPLAY"), QStringLiteral(":") + number);
    return !number.isEmpty();
}

bool Desktop::startBus() {
    _bus = start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                                 QStringLiteral("--print-address=1")});
    if (!_bus->waitForStarted())
        return false;
    while (!_bus->canReadLine())
        if (!_bus->waitForReadyRead(10000))
            return false;
    _environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                        QString::fromLatin1(_bus->readLine().trimmed()));
    return true;
}

bool Desktop::startWindowManager() {
    _manager = start(QStringLiteral("openbox"), {});
    if (!_manager->waitForStarted())
        return false;
    return QTest::qWaitFor([&] {
        return run(QStringLiteral("xprop"),
                   {QStringLiteral("-root"), QStringLiteral("_NET_SUPPORTING_WM_CHECK")})
            .contains(QStringLiteral("window id"));
    });
}

QString Desktop::run(const QString& program, const QStringList& arguments) const {
    const auto process = start(program, arguments);
    if (!process->waitForFinished(20000))
        process->kill();
    return QString::fromUtf8(process->readAllStandardOutput());
}

QImage Desktop::screenshot() const {
    const auto process =
        start(QStringLiteral("import"), {QStringLiteral("-silent"), QStringLiteral("-window"),
                                         QStringLiteral("root"), QStringLiteral("png:-")});
    process->waitForFinished(20000);
    return QImage::fromData(process->readAllStandardOutput(), "PNG").convertToFormat(QImage::Format_RGB32);
}

void Desktop::keepScreenshot(const QString& name) const {
    const QString folder = qEnvironmentVariable("TAVLIN_SCREENSHOTS");
    if (!folder.isEmpty())
        screenshot().save(QDir(folder).filePath(name + QStringLiteral(".png")));
}

namespace {

QStringList mouseTo(QPoint screen) {
    return {QStringLiteral("mousemove"), QStringLiteral("--sync"), QString::number(screen.x()),
            QString::number(screen.y())};
}

QStringList withKeys(const char* verb, const QStringList& keys) {
    QStringList words;
    for (const QString& key : keys)
        words << QString::fromLatin1(verb) << key;
    return words;
}

}  // namespace

void Desktop::moveTo(QPoint screen) const {
    run(QStringLiteral("xdotool"), mouseTo(screen));
}

void Desktop::click(QPoint screen, int times, const QStringList& held, int button) const {
    QStringList words = mouseTo(screen) + withKeys("keydown", held);
    words << QStringLiteral("click") << QStringLiteral("--repeat") << QString::number(times)
          << QStringLiteral("--delay") << QStringLiteral("40") << QString::number(button);
    run(QStringLiteral("xdotool"), words + withKeys("keyup", held));
}

void Desktop::drag(QPoint from, QPoint to) const {
    QStringList words = mouseTo(from) << QStringLiteral("mousedown") << QStringLiteral("1");
    constexpr int steps = 10;
    for (int i = 1; i <= steps; ++i)
        words << mouseTo(from + (to - from) * i / steps) << QStringLiteral("sleep")
              << QStringLiteral("0.025");
    run(QStringLiteral("xdotool"), words << QStringLiteral("mouseup") << QStringLiteral("1"));
}

void Desktop::wheel(QPoint screen, int notches, const QStringList& held) const {
    click(screen, qAbs(notches), held, notches > 0 ? 5 : 4);
}

void Desktop::key(const QString& name) const {
    run(QStringLiteral("xdotool"), {QStringLiteral("key"), name});
}

void Desktop::type(const QString& text) const {
    run(QStringLiteral("xdotool"),
        {QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("20"), text});
}
