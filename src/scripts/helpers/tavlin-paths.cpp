// SPDX-License-Identifier: GPL-3.0-or-later
// tavlin-paths [-0] FILE: prints the paths that the program hands to a script in a parameter file (UTF-16
// with a byte-order mark, one absolute path a line), byte for byte as the file system has them, each ended by
// a newline, or by a NUL with -0. A path that holds a newline stands on several lines there; it is put
// together again, as a path begins with a slash.

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::vector<unsigned char> readWhole(std::FILE* file) {
    std::vector<unsigned char> bytes;
    unsigned char block[65536];
    while (const std::size_t got = std::fread(block, 1, sizeof block, file))
        bytes.insert(bytes.end(), block, block + got);
    return bytes;
}

void appendUtf8(std::string& text, std::uint32_t point) {
    const auto put = [&](std::uint32_t byte) {
        text += static_cast<char>(byte);
    };
    if (point < 0x80) {
        put(point);
    } else if (point < 0x800) {
        put(0xC0 | (point >> 6));
        put(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
        put(0xE0 | (point >> 12));
        put(0x80 | ((point >> 6) & 0x3F));
        put(0x80 | (point & 0x3F));
    } else {
        put(0xF0 | (point >> 18));
        put(0x80 | ((point >> 12) & 0x3F));
        put(0x80 | ((point >> 6) & 0x3F));
        put(0x80 | (point & 0x3F));
    }
}

/// UTF-16 after its byte-order mark, as bytes: a lone surrogate U+DC80 to U+DCFF is the byte 80 to FF of a
/// name that is not UTF-8.
std::string decode(const std::vector<unsigned char>& bytes) {
    const bool big = bytes.size() >= 2 && bytes[0] == 0xFE && bytes[1] == 0xFF;
    const auto unit = [&](std::size_t i) -> std::uint32_t {
        return big ? (bytes[i] << 8U) | bytes[i + 1] : bytes[i] | (bytes[i + 1] << 8U);
    };
    std::string text;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
        const std::uint32_t first = unit(i);
        const std::uint32_t second = i + 3 < bytes.size() ? unit(i + 2) : 0;
        if (first >= 0xD800 && first < 0xDC00 && second >= 0xDC00 && second < 0xE000) {
            appendUtf8(text, 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00));
            i += 2;
        } else if (first >= 0xDC80 && first <= 0xDCFF) {
            text += static_cast<char>(first - 0xDC00);
        } else {
            appendUtf8(text, first);
        }
    }
    return text;
}

bool exists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

/// The paths of a text of lines. A line that does not begin with a slash goes on with the path before it; one
/// that does is a path of its own, unless only the two together are a file.
std::vector<std::string> pathsOf(const std::string& text) {
    std::vector<std::string> paths;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const std::string line = text.substr(start, end - start);
        start = end + 1;
        const bool continues =
            !paths.empty() && (line.empty() || line.front() != '/' ||
                               (!exists(paths.back()) && exists(paths.back() + '\n' + line)));
        if (continues)
            paths.back() += '\n' + line;
        else
            paths.push_back(line);
    }
    return paths;
}

}  // namespace

int main(int argc, char** argv) {
    const bool zero = argc == 3 && std::strcmp(argv[1], "-0") == 0;
    if (argc != (zero ? 3 : 2)) {
        std::fputs("usage: tavlin-paths [-0] FILE\n", stderr);
        return 2;
    }
    std::FILE* file = std::fopen(argv[argc - 1], "rb");
    if (file == nullptr) {
        std::perror(argv[argc - 1]);
        return 1;
    }
    const std::string text = decode(readWhole(file));
    std::fclose(file);
    for (const std::string& path : pathsOf(text)) {
        std::fwrite(path.data(), 1, path.size(), stdout);
        std::fputc(zero ? '\0' : '\n', stdout);
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
