// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/InputDevice.h"

#include <algorithm>
#include <list>
#include <memory>

namespace decoder {

/// What has been decoded of the files that were asked last, for further requests: that of the last one
/// always, that of others while all together stay within kBytes. `File` answers keptBytes(), which may grow.
template <typename File>
class KeptFiles {
 public:
    static constexpr qsizetype kBytes = 256 << 20;

    /// That of a file which is still the same, and thereby the last one; null where there is none.
    File* find(const InputDevice::Identity& identity) {
        const auto found = std::ranges::find(_files, identity, &Kept::identity);
        if (found == _files.end())
            return nullptr;
        _files.splice(_files.begin(), _files, found);
        return _files.front().file.get();
    }
    File& add(const InputDevice::Identity& identity, std::unique_ptr<File> file) {
        _files.push_front({identity, std::move(file)});
        trim();
        return *_files.front().file;
    }
    void removeLast() { _files.pop_front(); }
    void clear() { _files.clear(); }

    /// To be called where the last one may have grown.
    void trim() {
        qsizetype bytes = 0;
        for (auto it = _files.begin(); it != _files.end(); ++it) {
            bytes += it->file->keptBytes();
            if (it != _files.begin() && bytes > kBytes) {
                _files.erase(it, _files.end());
                return;
            }
        }
    }

 private:
    struct Kept {
        InputDevice::Identity identity;
        std::unique_ptr<File> file;
    };

    std::list<Kept> _files;  ///< the last used first
};

}  // namespace decoder
