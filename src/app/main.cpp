// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MainWindowInterface.h"
#include "platform/desktop/Application.h"

int main(int argc, char** argv) {
    return platform::Application::run(argc, argv, &MainWindowInterface::load);
}
