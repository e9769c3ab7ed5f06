// SPDX-License-Identifier: GPL-3.0-or-later
// What the program reads back of its own: settings, formats of the log, the scripts' parameter files.
#include "fuzz/Target.h"
#include "platform/desktop/UserDefaults.h"
#include "platform/PathBytes.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"

// A program of one file, whose reading is wanted here and nothing else of it.
#define main tavlinPathsMain
#include "scripts/helpers/tavlin-paths.cpp"
#undef main

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <memory>

using fuzzing::require;

namespace {

std::vector<QByteArray> settingsSeeds() {
    return {
        "[PreferencesGlobals]\nPreferencesDebugLoggingSettingKey=true\n"
        "PreferencesImagesBrowserSortSettingKey=-1\n",
        "[PreferencesGlobals]\nSetting=@Variant(\\0\\0\\0\\t\\0\\0\\0\\0)\nA=@ByteArray(\\xff)\n",
        "[PreferencesGlobals]\nSetting=\\x40\"V\"\\141riant(\\0\\0\\0\\x2\\0\\0\\0\\x5)\n",
        "[General]\na=1e999\nb=\" -07y\"\nc=@Rect(1 2 3 4)\n"};
}

/// Whether the toolkit reads it without its reader of streams.
bool isPlain(const QVariant& value) {
    if (value.typeId() == QMetaType::QVariantList)
        return std::ranges::all_of(value.toList(), isPlain);
    constexpr std::array plain{QMetaType::UnknownType, QMetaType::QString, QMetaType::QStringList,
                               QMetaType::QByteArray,  QMetaType::QRect,   QMetaType::QSize,
                               QMetaType::QPoint};
    return std::ranges::find(plain, value.typeId()) != plain.end();
}

/// The bytes are the settings file, and a value as well.
void examineSettings(const QByteArray& bytes) {
    for (const QVariant& value : {QVariant(bytes), QVariant(QString::fromUtf8(bytes))}) {
        platform::boolReading(value);
        platform::integerReading(value);
    }
    const QTemporaryDir folder;
    const QString filePath = folder.filePath(QStringLiteral("tavlin.conf"));
    {
        QFile file(filePath);
        require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(),
                "settings can be written");
    }
    platform::UserDefaults defaults(filePath);
    const std::unique_ptr<PreferencesDictionary> store(PreferencesDictionary::dictionary());
    if (const auto kept = defaults.dictionaryForKey(QStringLiteral("PreferencesGlobals"))) {
        require(std::ranges::all_of(*kept, isPlain), "no value is read as a stream");
        store->addEntriesFromDictionary(*kept);
    }
    store->plausibilitaetsTest();
    store->description();
    for (const QString* key : {&PreferenceKeys::debugLogging, &PreferenceKeys::placesBrowserSort,
                               &PreferenceKeys::imagesBrowserSort, &PreferenceKeys::imageBrowserAnimation})
        require(store->objectForKey(*key).isValid(), "every setting has a value");
    require(platform::integerReading(store->objectForKey(PreferenceKeys::imagesBrowserSort)) >= 0,
            "an order is never negative");
}

std::vector<QByteArray> formatSeeds() {
    return {"%@ has %i of %u, %f at %p: 100%%", "%s%d%@%@%@%@", "%5.2f%", "50% of %"};
}

void examineFormat(const QByteArray& bytes) {
    const QString format = QString::fromUtf8(bytes);
    const QString text = QStringLiteral("%@");
    const auto line =
        logging::formatted(format, {logging::describe(QStringView(text)), logging::describeInteger(-1),
                                    logging::describeFloating(1e300), logging::describeAddress(&text),
                                    logging::describeNothing()});
    require(line.size() <= format.size() + 400, "a line is its format and its arguments");
    if (!format.contains(u'%'))
        require(line == format, "a format without directives stands as it is");
    logging::formatted(format, {});
}

QByteArray parametersOf(const QString& lines) {
    const QString marked = QChar(0xFEFF) + lines;
    return {reinterpret_cast<const char*>(marked.utf16()), marked.size() * 2};
}

std::vector<QByteArray> parameterSeeds() {
    return {parametersOf(QStringLiteral("/home/anna/a.jpg\n/home/anna/b\nc.jpg\n")),
            parametersOf(platform::pathFromBytes("/a\xff/\xf0\x9f\x8c\x8a")),
            QByteArray("\xfe\xff\0/\0a", 6)};
}

/// The bytes are a parameter file, and a path that is written to one as well.
void examineParameters(const QByteArray& bytes) {
    pathsOf(decode({bytes.begin(), bytes.end()}));
    QByteArray name = '/' + bytes;
    name.replace('\0', ' ').replace('\n', ' ');
    const QByteArray file = parametersOf(platform::pathFromBytes(name) + u'\n');
    const auto paths = pathsOf(decode({file.begin(), file.end()}));
    require(paths.size() == 1 && paths.front() == name.toStdString(), "a path comes to the script as it is");
}

const fuzzing::Target settings("settings", settingsSeeds, examineSettings);
const fuzzing::Target format("format", formatSeeds, examineFormat);
const fuzzing::Target parameters("parameters", parameterSeeds, examineParameters);

}  // namespace
