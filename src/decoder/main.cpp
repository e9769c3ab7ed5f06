// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/confinement/Confinement.h"
#include "decoder/confinement/Limits.h"
#include "decoder/confinement/SelfTest.h"
#include "decoder/PictureService.h"
#include "decoder/service/Server.h"
#include "decoder/stored/StoredThumbnails.h"

#include <dlfcn.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>

namespace {

using decoder::Role;

std::optional<Role> roleOf(int argc, char** argv) {
    if (argc != 3 || std::string_view(argv[1]) != "--role")
        return std::nullopt;
    for (const Role role : {Role::common, Role::rare, Role::properties, Role::stored}) {
        if (std::string_view(argv[2]) == decoder::roleName(role))
            return role;
    }
    return std::nullopt;
}

/// From the module beside this program.
decoder::Service* makePictureService(Role role, int& argc, char** argv) {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
        std::fprintf(stderr, "tavlin-decoder: its own folder is unknown: %s\n", error.message().c_str());
        return nullptr;
    }
    const auto module = program.parent_path() / decoder::kDecodingModule;
    void* handle = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* function = handle ? ::dlsym(handle, decoder::kDecodingFunction) : nullptr;
    if (function == nullptr) {
        std::fprintf(stderr, "tavlin-decoder: %s\n", ::dlerror());
        return nullptr;
    }
    return reinterpret_cast<decoder::DecodingFunction>(function)(role, argc, argv);
}

std::unique_ptr<decoder::Service> makeService(Role role, int& argc, char** argv) {
    if (role == Role::stored)
        return std::make_unique<decoder::StoredThumbnails>();
    return std::unique_ptr<decoder::Service>(makePictureService(role, argc, argv));
}

/// Has freed memory stay with this process for the next picture. Given back after each, it would come anew
/// with a page fault for every 4 KiB: some 150 for a small thumbnail, a fifth of its time. The thresholds are
/// those that the allocator arrives at by itself, but only after a picture of 32 MiB.
void keepFreedMemory() {
    constexpr int mebibyte = 1 << 20;
    ::mallopt(M_TRIM_THRESHOLD, 64 * mebibyte);
    ::mallopt(M_MMAP_THRESHOLD, 32 * mebibyte);
    ::mallopt(M_TOP_PAD, mebibyte);
}

/// Leads standard error to where standard output goes, nowhere: what libraries write there on account of a
/// picture is neither ours nor harmless on a terminal. A build with sanitizers keeps it for their reports.
void silenceStandardError() {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    ::dup2(STDOUT_FILENO, STDERR_FILENO);
#endif
}

}  // namespace

/// Opens pictures for the program, which starts it and talks to it through descriptor 3. See
/// protocol/Protocol.h. With --self-test it proves its confinement, see confinement/SelfTest.h.
int main(int argc, char** argv) {
    if (argc >= 2 && std::string_view(argv[1]) == "--self-test")
        return decoder::selfTest(argc == 2 ? std::string_view() : argv[2]);
    const auto role = roleOf(argc, argv);
    if (!role) {
        std::fputs("tavlin-decoder is started by tavlin\n", stderr);
        return EXIT_FAILURE;
    }
    decoder::setLimits();
    keepFreedMemory();
    const auto service = makeService(*role, argc, argv);
    if (!service)
        return EXIT_FAILURE;
    silenceStandardError();
    return decoder::serve(decoder::kSocketDescriptor, decoder::confine(decoder::kAllProtections), *service);
}
