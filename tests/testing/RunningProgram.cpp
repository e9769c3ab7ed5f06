// SPDX-License-Identifier: GPL-3.0-or-later
#include "testing/RunningProgram.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QRegularExpression>
#include <QTest>

#include <sys/types.h>
#include <csignal>

RunningProgram::RunningProgram(const Desktop& desktop, const QStringList& arguments) : _desktop(desktop) {
    _process.setProcessEnvironment(_desktop.environment());
    _process.setProcessChannelMode(QProcess::SeparateChannels);
    _process.start(QStringLiteral(TAVLIN_BUILD_DIR "/bin/tavlin"), arguments);
    _process.waitForStarted();
}

RunningProgram::~RunningProgram() {
    if (isRunning())
        terminate();
}

QStringList RunningProgram::log() {
    _process.waitForReadyRead(1);
    _standardError += _process.readAllStandardError();
    return QString::fromUtf8(_standardError).split(u'\n', Qt::SkipEmptyParts);
}

QStringList RunningProgram::debugLog() {
    static const QRegularExpression header(QStringLiteral("^.*?(?=([-+]\\[[A-Z]|[a-z]\\w+ \\(\\d+\\): ))"));
    QStringList messages;
    for (const QString& line : log()) {
        const auto match = header.match(line);
        if (match.hasMatch())
            messages += line.mid(match.capturedLength());
    }
    return messages;
}

bool RunningProgram::waitForLog(const QString& text, int milliseconds) {
    return QTest::qWaitFor([&] { return log().join(u'\n').contains(text); }, milliseconds);
}

int RunningProgram::terminate() {
    ::kill(static_cast<pid_t>(_process.processId()), SIGTERM);
    const int status = waitForEnd();
    if (isRunning()) {
        _process.kill();
        _process.waitForFinished();
    }
    return status;
}

int RunningProgram::waitForEnd(int milliseconds) {
    if (isRunning() && !_process.waitForFinished(milliseconds))
        return -1;
    log();
    return _process.exitStatus() == QProcess::NormalExit ? _process.exitCode() : -1;
}

namespace {

/// A reference on the bus, "(so)".
struct Reference {
    QString service;
    QString path;
};

QList<Reference> references(const QDBusMessage& answer) {
    QList<Reference> result;
    if (answer.type() != QDBusMessage::ReplyMessage || answer.arguments().isEmpty())
        return result;
    const auto list = answer.arguments().constFirst().value<QDBusArgument>();
    list.beginArray();
    while (!list.atEnd()) {
        Reference reference;
        QDBusObjectPath path;
        list.beginStructure();
        list >> reference.service >> path;
        list.endStructure();
        reference.path = path.path();
        result += reference;
    }
    list.endArray();
    return result;
}

const QString accessible = QStringLiteral("org.a11y.atspi.Accessible");

QDBusMessage call(const QString& connection, const Reference& object, const QString& interface,
                  const QString& member, const QVariantList& arguments = {}) {
    auto message = QDBusMessage::createMethodCall(object.service, object.path, interface, member);
    message.setArguments(arguments);
    return QDBusConnection(connection).call(message, QDBus::Block, 3000);
}

AccessibleObject describe(const QString& connection, const Reference& reference) {
    AccessibleObject object{reference.service, reference.path, {}, {}, {}};
    const auto name = call(connection, reference, QStringLiteral("org.freedesktop.DBus.Properties"),
                           QStringLiteral("Get"), {accessible, QStringLiteral("Name")});
    if (name.type() == QDBusMessage::ReplyMessage)
        object.name = name.arguments().constFirst().value<QDBusVariant>().variant().toString();
    const auto role = call(connection, reference, accessible, QStringLiteral("GetRoleName"));
    if (role.type() == QDBusMessage::ReplyMessage)
        object.role = role.arguments().constFirst().toString();
    const auto extents = call(connection, reference, QStringLiteral("org.a11y.atspi.Component"),
                              QStringLiteral("GetExtents"), {QVariant::fromValue(quint32{0})});
    if (extents.type() == QDBusMessage::ReplyMessage) {
        const auto box = extents.arguments().constFirst().value<QDBusArgument>();
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
        box.beginStructure();
        box >> x >> y >> width >> height;
        box.endStructure();
        object.extents = QRect(x, y, width, height);
    }
    return object;
}

}  // namespace

AccessibilityBus::AccessibilityBus(const Desktop& desktop)
    : _connection(desktop.busAddress() + QStringLiteral("a11y")) {
    const QString session = desktop.busAddress();
    QDBusConnection::connectToBus(session, session);
    const auto answer = call(session, {QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus")},
                             QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress"));
    if (answer.type() == QDBusMessage::ReplyMessage)
        QDBusConnection::connectToBus(answer.arguments().constFirst().toString(), _connection);
    QDBusConnection::disconnectFromBus(session);
}

AccessibilityBus::~AccessibilityBus() {
    QDBusConnection::disconnectFromBus(_connection);
}

AccessibleObject AccessibilityBus::application() const {
    const Reference registry{QStringLiteral("org.a11y.atspi.Registry"),
                             QStringLiteral("/org/a11y/atspi/accessible/root")};
    for (const Reference& reference :
         references(call(_connection, registry, accessible, QStringLiteral("GetChildren")))) {
        const AccessibleObject object = describe(_connection, reference);
        if (object.name.compare(QStringLiteral("tavlin"), Qt::CaseInsensitive) == 0)
            return object;
    }
    return {};
}

QList<AccessibleObject> AccessibilityBus::children(const AccessibleObject& object) const {
    QList<AccessibleObject> result;
    const auto answer =
        call(_connection, {object.service, object.path}, accessible, QStringLiteral("GetChildren"));
    for (const Reference& reference : references(answer))
        result += describe(_connection, reference);
    return result;
}

QList<AccessibleObject> AccessibilityBus::below(const AccessibleObject& object, int limit) const {
    QList<AccessibleObject> result{object};
    for (qsizetype i = 0; i < result.size() && result.size() < limit; ++i)
        result += children(result[i]);
    return result;
}

QStringList AccessibilityBus::names(const AccessibleObject& parent, const QString& role) const {
    QStringList result;
    for (const AccessibleObject& child : children(parent))
        if (child.role == role)
            result += child.name;
    return result;
}

AccessibleObject AccessibilityBus::find(const QString& role, const QString& name, int milliseconds) const {
    AccessibleObject found;
    (void)QTest::qWaitFor(
        [&] {
            const AccessibleObject root = application();
            if (!root.isValid())
                return false;
            for (const AccessibleObject& object : below(root))
                if (object.role == role && object.name == name) {
                    found = object;
                    return true;
                }
            return false;
        },
        milliseconds);
    return found;
}
