// SPDX-License-Identifier: GPL-3.0-or-later
// osascript SCRIPT PARAMETER: runs a script of the user's on this desktop, from the script's own folder, with
// PARAMETER as its only argument. It becomes the script, so that it ends when the script ends, with the
// script's status. 126: it cannot be run; 127: it, or what should run it, is not there.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

int complain(const std::string& script, const std::string& what, int status) {
    std::fprintf(stderr, "osascript: %s: %s\n", script.c_str(), what.c_str());
    return status;
}

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r");
    return first == std::string::npos ? std::string()
                                      : text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

/// The interpreter and its one optional argument of a "#!" line, as the kernel reads it; empty where there is
/// none.
std::vector<std::string> interpreterOfFirstLine(int file) {
    std::array<char, 256> head{};
    const ssize_t size = ::pread(file, head.data(), head.size(), 0);
    std::string line(head.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    line = line.substr(0, line.find('\n'));
    if (line.rfind("#!", 0) != 0)
        return {};
    line = trimmed(line.substr(2));
    const auto blank = line.find_first_of(" \t");
    if (blank == std::string::npos)
        return line.empty() ? std::vector<std::string>() : std::vector{line};
    return {line.substr(0, blank), trimmed(line.substr(blank))};
}

std::vector<std::string> interpreterOfType(const std::string& script) {
    const auto dot = script.rfind('.');
    const std::string type = dot == std::string::npos ? std::string() : script.substr(dot + 1);
    if (type == "sh")
        return {"sh"};
    if (type == "bash")
        return {"bash"};
    if (type == "py")
        return {"python3"};
    if (type == "pl")
        return {"perl"};
    return {};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: osascript SCRIPT PARAMETER\n", stderr);
        return 2;
    }
    std::string script = argv[1];
    const int file = ::open(script.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat status {};
    if (file < 0 || ::fstat(file, &status) != 0)
        return complain(script, std::strerror(errno), errno == ENOENT ? 127 : 126);
    if (!S_ISREG(status.st_mode))
        return complain(script, "not a script, but a folder or a device", 126);

    std::vector<std::string> words = interpreterOfFirstLine(file);
    if (words.empty())
        words = interpreterOfType(script);
    if (words.empty())
        return complain(script,
                        "this system cannot run it. Give it a first line that names its interpreter, such as "
                        "#!/bin/sh, or a name that ends in .sh or .py",
                        126);

    if (script.front() != '/')
        script.insert(0, "./");
    const auto slash = script.rfind('/');
    if (::chdir(script.substr(0, slash + 1).c_str()) != 0)
        return complain(script, std::strerror(errno), 126);
    words.push_back(script.front() == '/' ? script : "." + script.substr(slash));
    words.emplace_back(argv[2]);
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    ::execvp(arguments[0], arguments.data());
    return complain(script, words.front() + ": " + std::strerror(errno), errno == ENOENT ? 127 : 126);
}
