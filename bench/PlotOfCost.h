// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "bench/Figures.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <string>
#include <vector>

/// The cost per entry of a load against the folder's size, as an SVG: a flat line is a cost that grows with
/// the folder and no faster.
class PlotOfCost {
 public:
    /// Milliseconds for a folder of `count`.
    void add(int count, double first, double again, double floor) {
        _sizes.push_back(count);
        const double perEntry = 1e3 / count;  // µs
        _lines[0].values.push_back(first * perEntry);
        _lines[1].values.push_back(again * perEntry);
        _lines[2].values.push_back(floor * perEntry);
    }

    void write(const char* file) const {
        std::ofstream svg(file);
        svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << width << ' ' << height
            << "\" font-family=\"sans-serif\" font-size=\"13\">\n"
            << "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n";
        writeAxes(svg);
        for (const Line& line : _lines) {
            svg << "<polyline fill=\"none\" stroke-width=\"2.5\" stroke=\"" << line.colour << "\" points=\"";
            for (std::size_t i = 0; i < _sizes.size(); ++i)
                svg << x(_sizes[i]) << ',' << y(line.values[i]) << ' ';
            svg << "\"/>\n";
            for (std::size_t i = 0; i < _sizes.size(); ++i)
                svg << "<circle r=\"3.5\" fill=\"" << line.colour << "\" cx=\"" << x(_sizes[i]) << "\" cy=\""
                    << y(line.values[i]) << "\"/>\n";
            const auto row = static_cast<double>(&line - _lines);
            svg << "<text x=\"" << left + 14 << "\" y=\"" << top + 8 + 18 * row << "\" fill=\"" << line.colour
                << "\">" << line.name << "</text>\n";
        }
        svg << "</svg>\n";
    }

 private:
    struct Line {
        const char* name;
        const char* colour;
        std::vector<double> values;  ///< µs per entry
    };
    static constexpr double width = 780, height = 420, left = 70, right = 50, top = 30, bottom = 60;

    double greatest() const {
        double most = 0;
        for (const Line& line : _lines)
            most = std::max(most, *std::max_element(line.values.begin(), line.values.end()));
        return std::ceil(most);
    }
    double x(double size) const {
        const double span = std::log10(_sizes.back() / _sizes.front());
        return left + (width - left - right) * std::log10(size / _sizes.front()) / span;
    }
    double y(double value) const { return height - bottom - (height - top - bottom) * value / greatest(); }

    void writeAxes(std::ostream& svg) const {
        const int step = std::max(1, static_cast<int>(greatest() / 6));
        for (int value = 0; value <= static_cast<int>(greatest()); value += step)
            svg << "<path stroke=\"#dddddd\" d=\"M" << left << ' ' << y(value) << "H" << width - right
                << "\"/><text text-anchor=\"end\" x=\"" << left - 8 << "\" y=\"" << y(value) + 4 << "\">"
                << value << "</text>\n";
        for (long size = std::lround(_sizes.front()); size <= std::lround(_sizes.back()); size *= 10) {
            const double at = x(static_cast<double>(size));
            svg << "<path stroke=\"#444444\" d=\"M" << at << ' ' << height - bottom
                << "v5\"/><text text-anchor=\"middle\" x=\"" << at << "\" y=\"" << height - bottom + 22
                << "\">" << bench::withCommas(size) << "</text>\n";
        }
        svg << "<path fill=\"none\" stroke=\"#444444\" d=\"M" << left << ' ' << top << 'V' << height - bottom
            << 'H' << width - right << "\"/>\n";
        svg << "<text text-anchor=\"middle\" x=\"" << width / 2 << "\" y=\"" << height - 14
            << "\">entries of the folder</text>\n<text x=\"10\" y=\"18\">µs per entry</text>\n";
    }

    std::vector<double> _sizes;
    Line _lines[3] = {{"load, from the request to the view's reload", "#1b6ca8", {}},
                      {"reload of the unchanged folder", "#2a9d5c", {}},
                      {"floor: getdents64 and statx", "#999999", {}}};
};
