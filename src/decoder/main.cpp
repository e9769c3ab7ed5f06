// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/confinement/Confinement.h"
#include "decoder/confinement/Limits.h"
#include "decoder/confinement/SelfTest.h"
#include "decoder/Decoding.h"
#include "decoder/LoaderMessages.h"
#include "decoder/Server.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

namespace {

std::optional<decoder::Role> roleOf(int argc, char** argv) {
    if (argc != 3 || std::string_view(argv[1]) != "--role")
        return std::nullopt;
    for (const decoder::Role role : {decoder::Role::common, decoder::Role::rare, decoder::Role::properties}) {
        if (std::string_view(argv[2]) == decoder::roleName(role))
            return role;
    }
    return std::nullopt;
}

/// Drawings need fonts, and those an application with a display: the one that shows nothing and costs least.
std::unique_ptr<QCoreApplication> makeApplication(decoder::Role role, int& argc, char** argv) {
    if (role != decoder::Role::rare)
        return std::make_unique<QCoreApplication>(argc, argv);
    qputenv("QT_QPA_PLATFORM", "minimal:enable_fonts");
    return std::make_unique<QGuiApplication>(argc, argv);
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
    decoder::collectLoaderMessages();
    const auto application = makeApplication(*role, argc, argv);
    if (!decoder::prepare(*role))
        return EXIT_FAILURE;
    decoder::silenceStandardError();
    return decoder::serve(decoder::kSocketDescriptor, decoder::confine(decoder::kAllProtections));
}
