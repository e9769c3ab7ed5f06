// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <pthread.h>

#include <cstddef>

/// While it lives, no thread can be started: each would need a stack larger than the address space.
class NoThreads {
 public:
    NoThreads() {
        ::pthread_getattr_default_np(&_usual);
        pthread_attr_t impossible = _usual;
        ::pthread_attr_setstacksize(&impossible, std::size_t{1} << 50);
        ::pthread_setattr_default_np(&impossible);
    }
    ~NoThreads() { ::pthread_setattr_default_np(&_usual); }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

 private:
    pthread_attr_t _usual{};
};
