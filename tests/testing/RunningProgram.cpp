// SPDX-License-Identifier: GPL-3.0-or-later
#include "testing/RunningProgram.h"

#include "testing/MountSandbox.h"

#include <sys/mount.h>
#include <sys/stat.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <sys/types.h>
#include <csignal>

using namespace Qt::StringLiterals;

QString programPrefix() {
    return qEnvironmentVariable("TAVLIN_PREFIX", QStringLiteral(TAVLIN_BUILD_DIR));
}

void showProgramToEverybody() {
    constexpr const char* place = "/mnt/program";
    if (MountSandbox::problem().isEmpty() && ::mount("tmpfs", "/mnt", "tmpfs", 0, "mode=755") == 0 &&
        ::mkdir(place, 0755) == 0 &&
        ::mount(QFile::encodeName(programPrefix()).constData(), place, nullptr, MS_BIND, nullptr) == 0)
        qputenv("TAVLIN_PREFIX", place);
}

RunningProgram::RunningProgram(const Desktop& desktop, const QStringList& arguments)
    : RunningProgram(desktop.environment(), arguments) {
}

RunningProgram::RunningProgram(const QProcessEnvironment& environment, const QStringList& arguments) {
    // It is to find its parts by itself.
    QProcessEnvironment own = environment;
    own.remove(u"TAVLIN_PREFIX"_s);
    _process.setProcessEnvironment(own);
    // Into a file: a test that waits for the program's answer could not empty a pipe meanwhile.
    if (!_log.open())
        qFatal("no file for the program's log");
    _process.setStandardErrorFile(_log.fileName());
    _process.start(programPrefix() + u"/bin/tavlin"_s, arguments);
    _process.waitForStarted();
}

RunningProgram::~RunningProgram() {
    if (isRunning())
        terminate();
}

QStringList RunningProgram::log() {
    _log.seek(0);
    return QString::fromUtf8(_log.readAll()).split(u'\n', Qt::SkipEmptyParts);
}

QStringList RunningProgram::debugLog() {
    static const QRegularExpression header(u"^.*?(?=([-+]\\[[A-Z]|[a-z]\\w+ \\(\\d+\\): ))"_s);
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
        if (reference.path != u"/org/a11y/atspi/null")
            result += reference;
    }
    list.endArray();
    return result;
}

const QString accessible = u"org.a11y.atspi.Accessible"_s;

QDBusMessage call(const QString& connection, const Reference& object, const QString& interface,
                  const QString& member, const QVariantList& arguments = {}) {
    auto message = QDBusMessage::createMethodCall(object.service, object.path, interface, member);
    message.setArguments(arguments);
    return QDBusConnection(connection).call(message, QDBus::Block, 3000);
}

QString property(const QString& connection, const Reference& reference, const QString& name) {
    const auto answer =
        call(connection, reference, u"org.freedesktop.DBus.Properties"_s, u"Get"_s, {accessible, name});
    return answer.type() == QDBusMessage::ReplyMessage
               ? answer.arguments().constFirst().value<QDBusVariant>().variant().toString()
               : QString();
}

QString nameOf(const QString& connection, const Reference& reference) {
    return property(connection, reference, u"Name"_s);
}

QString roleOf(const QString& connection, const Reference& reference) {
    const auto answer = call(connection, reference, accessible, u"GetRoleName"_s);
    return answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().constFirst().toString()
                                                       : QString();
}

QRect extentsOf(const QString& connection, const Reference& reference) {
    const auto answer = call(connection, reference, u"org.a11y.atspi.Component"_s, u"GetExtents"_s,
                             {QVariant::fromValue(quint32{0})});
    if (answer.type() != QDBusMessage::ReplyMessage)
        return {};
    const auto box = answer.arguments().constFirst().value<QDBusArgument>();
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    box.beginStructure();
    box >> x >> y >> width >> height;
    box.endStructure();
    return {x, y, width, height};
}

AccessibleObject describe(const QString& connection, const Reference& reference) {
    return {reference.service, reference.path, nameOf(connection, reference), roleOf(connection, reference),
            extentsOf(connection, reference)};
}

/// Whether objects of one role can stand below one of another: a search need not go through every row.
bool canHold(const QString& role, const QString& wanted) {
    if (role == u"tree" || role == u"tree table")
        return wanted == u"tree item" || wanted == u"cell";
    if (role == u"list")
        return wanted == u"list item";
    if (role == u"table")
        return wanted == u"cell";
    if (role == u"menu bar" || role == u"menu")
        return wanted == u"menu item" || wanted == u"menu";
    return true;
}

}  // namespace

AccessibilityBus::AccessibilityBus(const Desktop& desktop) : _connection(desktop.busAddress() + u"a11y"_s) {
    const QString session = desktop.busAddress();
    QDBusConnection::connectToBus(session, session);
    const auto answer =
        call(session, {u"org.a11y.Bus"_s, u"/org/a11y/bus"_s}, u"org.a11y.Bus"_s, u"GetAddress"_s);
    if (answer.type() == QDBusMessage::ReplyMessage)
        QDBusConnection::connectToBus(answer.arguments().constFirst().toString(), _connection);
    QDBusConnection::disconnectFromBus(session);
}

AccessibilityBus::~AccessibilityBus() {
    QDBusConnection::disconnectFromBus(_connection);
}

AccessibleObject AccessibilityBus::application() const {
    const Reference registry{u"org.a11y.atspi.Registry"_s, u"/org/a11y/atspi/accessible/root"_s};
    for (const Reference& reference : references(call(_connection, registry, accessible, u"GetChildren"_s)))
        if (nameOf(_connection, reference).compare(u"tavlin"_s, Qt::CaseInsensitive) == 0)
            return {reference.service, reference.path, u"tavlin"_s, {}, {}};
    return {};
}

QList<AccessibleObject> AccessibilityBus::children(const AccessibleObject& object) const {
    QList<AccessibleObject> result;
    if (!object.isValid())
        return result;
    const auto answer = call(_connection, {object.service, object.path}, accessible, u"GetChildren"_s);
    for (const Reference& reference : references(answer))
        result += describe(_connection, reference);
    return result;
}

QStringList AccessibilityBus::names(const AccessibleObject& parent, const QString& role) const {
    QStringList result;
    const auto answer = call(_connection, {parent.service, parent.path}, accessible, u"GetChildren"_s);
    for (const Reference& reference : references(answer))
        if (roleOf(_connection, reference) == role)
            result += nameOf(_connection, reference);
    return result;
}

bool AccessibilityBus::is(const AccessibleObject& object, AccessibleState state) const {
    if (!object.isValid())
        return false;
    const auto answer = call(_connection, {object.service, object.path}, accessible, u"GetState"_s);
    if (answer.type() != QDBusMessage::ReplyMessage)
        return false;
    const auto words = qdbus_cast<QList<quint32>>(answer.arguments().constFirst());
    return (words.value(0) & (1U << static_cast<unsigned>(state))) != 0;
}

QString AccessibilityBus::description(const AccessibleObject& object) const {
    return property(_connection, {object.service, object.path}, u"Description"_s);
}

QString AccessibilityBus::text(const AccessibleObject& object) const {
    const auto answer =
        call(_connection, {object.service, object.path}, u"org.a11y.atspi.Text"_s, u"GetText"_s, {0, -1});
    return answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().constFirst().toString()
                                                       : QString();
}

AccessibleObject AccessibilityBus::search(const QString& role, const QString& name) const {
    const AccessibleObject root = application();
    if (!root.isValid())
        return {};
    QList<Reference> open{{root.service, root.path}};
    constexpr qsizetype most = 2000;
    for (qsizetype i = 0; i < open.size() && i < most; ++i) {
        const Reference reference = open[i];
        const QString seen = i == 0 ? QString() : roleOf(_connection, reference);
        if (seen == role && nameOf(_connection, reference) == name)
            return describe(_connection, reference);
        if (canHold(seen, role))
            open += references(call(_connection, reference, accessible, u"GetChildren"_s));
    }
    return {};
}

AccessibleObject AccessibilityBus::find(const QString& role, const QString& name, int milliseconds) const {
    AccessibleObject found;
    std::ignore = QTest::qWaitFor([&] { return (found = search(role, name)).isValid(); }, milliseconds);
    return found;
}
