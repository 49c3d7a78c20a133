// An SVG picture with a title and a legend. Its colours follow the reader's light or dark scheme.
//
// SPDX-License-Identifier: MIT

#pragma once

#include <fmt/format.h>
#include <iterator>
#include <string>
#include <utility>

namespace tool {

struct PlotText
{
    std::string title;
    std::string subtitle;
};

// The colours of the light scheme are attributes, for the programs that do not read style sheets.
struct PlotColours
{
    static constexpr const char* Ink = "#333";
    static constexpr const char* Paper = "#fff";
    static constexpr const char* Grid = "#ddd";
    static constexpr const char* Key = "#e8710a";
    static constexpr const char* Other = "#4a86c8";
    static constexpr const char* Line = "#12304f";
};

// Of an area that does not hide what it covers.
constexpr double SvgAreaOpacity = 0.3;

enum class LegendMark
{
    Block,
    Area,  // filled lightly
    BlockWithDot,
    Line,
    DashedLine,
};

class CSvgPage
{
public:
    // `margin` is where text begins.
    CSvgPage(double width, double height, double margin, const PlotText& text);

    template <class... Arguments>
    void Add(fmt::format_string<Arguments...> format, Arguments&&... arguments)
    {
        fmt::format_to(std::back_inserter(svg), format, std::forward<Arguments>(arguments)...);
    }
    void AddLegend(LegendMark mark, const char* colour, const std::string& label);
    std::string Finish();

private:
    std::string svg;
    double legendX;
};

}  // namespace tool
