// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/FileProgram.h"

#include "platform/desktop/FileManager.h"
#include "platform/Guard.h"
#include "platform/PathBytes.h"
#include "platform/VolumeWorkers.h"

#include <gio/gio.h>

#include <QIcon>
#include <QObject>
#include <QPointer>
#include <QSet>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <utility>

namespace platform {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 40ms;
constexpr const char* ownEntry = TAVLIN_APPLICATION_ID ".desktop";

using Description = std::shared_ptr<GAppInfo>;

template <typename Object>
std::shared_ptr<Object> owned(Object* object) {
    return std::shared_ptr<Object>(object, [](Object* last) {
        if (last != nullptr)
            g_object_unref(last);
    });
}

/// The file's type by its name and, where that does not tell, by its first bytes; empty when it is not there.
QByteArray contentType(const QString& path) {
    const auto file = owned(g_file_new_for_path(bytesFromPath(path).constData()));
    const auto info = owned(g_file_query_info(file.get(), G_FILE_ATTRIBUTE_STANDARD_CONTENT_TYPE,
                                              G_FILE_QUERY_INFO_NONE, nullptr, nullptr));
    return info == nullptr ? QByteArray() : QByteArray(g_file_info_get_content_type(info.get()));
}

/// Of files whose names end alike one speaks for all.
std::vector<QByteArray> contentTypes(const QStringList& paths) {
    QSet<QString> endings;
    std::vector<QByteArray> types;
    for (const QString& path : paths) {
        const QString name = lastPathComponent(path);
        const qsizetype dot = name.lastIndexOf(u'.');
        const QString ending = dot < 0 ? QString() : name.mid(dot).toLower();
        if (endings.contains(ending))
            continue;
        endings.insert(ending);
        const QByteArray type = contentType(path);
        if (std::ranges::find(types, type) == types.end())
            types.push_back(type);
    }
    return types;
}

std::vector<Description> programsForType(const QByteArray& type) {
    std::vector<Description> programs;
    const auto add = [&programs](GAppInfo* description) {
        const Description program = owned(description);
        const auto isSame = [&](const Description& other) {
            return g_app_info_equal(other.get(), program.get()) != FALSE;
        };
        const auto takesFiles = [&] {
            return g_app_info_supports_uris(program.get()) != FALSE ||
                   g_app_info_supports_files(program.get()) != FALSE;
        };
        if (program != nullptr && qstrcmp(g_app_info_get_id(program.get()), ownEntry) != 0 && takesFiles() &&
            std::ranges::none_of(programs, isSame))
            programs.push_back(program);
    };
    add(g_app_info_get_default_for_type(type.constData(), FALSE));
    GList* all = g_app_info_get_all_for_type(type.constData());
    for (GList* entry = all; entry != nullptr; entry = entry->next)
        add(static_cast<GAppInfo*>(entry->data));
    g_list_free(all);
    return programs;
}

std::vector<Description> programsForFiles(const QStringList& paths) {
    std::vector<Description> programs;
    bool isFirst = true;
    for (const QByteArray& type : contentTypes(paths)) {
        const std::vector<Description> fitting = programsForType(type);
        if (std::exchange(isFirst, false)) {
            programs = fitting;
            continue;
        }
        std::erase_if(programs, [&](const Description& program) {
            return std::ranges::none_of(fitting, [&](const Description& other) {
                return g_app_info_equal(other.get(), program.get()) != FALSE;
            });
        });
    }
    return programs;
}

class ProgramsJob;

/// Where late answers are handed over, under a lock, as the event that tells of them carries nothing. Made on
/// the main thread and never destroyed, as a worker may come late at the program's end.
class LatePrograms : public QObject {
 public:
    static LatePrograms& shared() {
        static auto* late = new LatePrograms;
        return *late;
    }
    void add(std::shared_ptr<ProgramsJob> job) {
        const std::lock_guard lock(_mutex);
        _jobs.push_back(std::move(job));
        QMetaObject::invokeMethod(this, &LatePrograms::deliver, Qt::QueuedConnection);
    }
    void deliver();

 private:
    std::mutex _mutex;
    std::vector<std::shared_ptr<ProgramsJob>> _jobs;
};

class ProgramsJob final : public VolumeJob, public std::enable_shared_from_this<ProgramsJob> {
 public:
    ProgramsJob(const QStringList& paths, const QObject& context, FileProgramReceiver receive)
        : _paths(paths), _context(&context), _receive(std::move(receive)) {
        LatePrograms::shared();
    }

    void run() override { _programs = programsForFiles(_paths); }
    bool isWantedLate() const override { return true; }
    void deliverLate() override { LatePrograms::shared().add(shared_from_this()); }
    /// On the main thread, once.
    void deliver() {
        const std::vector<FileProgram> programs(_programs.begin(), _programs.end());
        if (_context != nullptr)
            guarded("the programs for files", [&] { _receive(programs); });
        _receive = nullptr;
    }

 private:
    const QStringList _paths;
    const QPointer<const QObject> _context;  ///< main thread
    FileProgramReceiver _receive;            ///< main thread
    std::vector<Description> _programs;
};

void LatePrograms::deliver() {
    std::vector<std::shared_ptr<ProgramsJob>> jobs;
    {
        const std::lock_guard lock(_mutex);
        jobs.swap(_jobs);
    }
    for (const auto& job : jobs)
        job->deliver();
}

}  // namespace

QString FileProgram::name() const {
    return QString::fromUtf8(g_app_info_get_display_name(_description.get()));
}

QIcon FileProgram::icon() const {
    GIcon* icon = g_app_info_get_icon(_description.get());
    if (icon == nullptr)
        return {};
    if (G_IS_FILE_ICON(icon)) {
        char* path = g_file_get_path(g_file_icon_get_file(G_FILE_ICON(icon)));
        const QString file = path == nullptr ? QString() : pathFromBytes(path);
        g_free(path);
        return QIcon(file);
    }
    if (!G_IS_THEMED_ICON(icon))
        return {};
    QIcon found;
    for (const char* const* name = g_themed_icon_get_names(G_THEMED_ICON(icon));
         *name != nullptr && found.isNull(); ++name)
        found = QIcon::fromTheme(QString::fromUtf8(*name));
    return found;
}

void FileProgram::open(const QStringList& paths) const {
    QByteArrayList uris;
    for (const QString& path : paths)
        uris += fileUriFromPath(path);
    launch(_description.get(), uris);
}

void findProgramsForFiles(const QStringList& paths, const QObject& context,
                          const FileProgramReceiver& receive) {
    static const auto workers = std::make_shared<VolumeWorkers>();
    const auto job = std::make_shared<ProgramsJob>(paths, context, receive);
    if (workers->runUntil(job, VolumeWorkers::Clock::now() + patience))
        job->deliver();
}

}  // namespace platform
