// A bar for each access unit while there is room; then a bar for what falls into a column of pixels. Key
// frames stand behind the others, which are smaller as a rule, and have a dot on top where they are thin.

#include "report/SizePlot.h"

#include "report/Ticks.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

namespace tool {

namespace {

constexpr double Width = 1200;
constexpr double Height = 500;
constexpr double Left = 84;
constexpr double Right = 24;
constexpr double Top = 92;
constexpr double Bottom = 64;
constexpr double PlotWidth = Width - Left - Right;
constexpr double PlotHeight = Height - Top - Bottom;
constexpr double PlotBottom = Height - Bottom;

constexpr double ThinColumn = 8;  // a key frame needs a dot to be seen
constexpr double WideColumn = 3;  // from here on bars have gaps
constexpr size_t MaxDots = 280;   // more would run into each other
constexpr const char* KeyColour = "#e8710a";
constexpr const char* OtherColour = "#4a86c8";
constexpr const char* MeanColour = "#12304f";

std::string EscapeXml(const std::string& text)
{
    std::string escaped;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '&')
            escaped += "&amp;";
        else if (character == '<')
            escaped += "&lt;";
        else if (byte < 0x20 || byte >= 0x7F)
            escaped += '?';
        else
            escaped += character;
    }
    return escaped;
}

class CSizePlot
{
public:
    CSizePlot(const CSizeHistory& history, std::optional<double> seconds);
    std::string Draw(const PlotText& text);

private:
    template <class... Arguments>
    void Add(fmt::format_string<Arguments...> format, Arguments&&... arguments)
    {
        fmt::format_to(std::back_inserter(svg), format, std::forward<Arguments>(arguments)...);
    }
    void DrawFrame(const PlotText& text);
    void DrawLegend();
    void DrawAxes();
    void DrawBars(const char* colour, uint64_t SizeBin::*size);
    void DrawDots();
    void DrawMean();

    double ColumnWidth() const { return PlotWidth / static_cast<double>(columns.size()); }
    double X(size_t column) const { return Left + (static_cast<double>(column) + 0.5) * ColumnWidth(); }
    double Y(double size) const { return PlotBottom - size / sizeAxis.end * PlotHeight; }
    bool HasSeveralPerColumn() const { return !columns.empty() && columns[0].count > 1; }

    std::vector<SizeBin> columns;
    Axis sizeAxis;
    Axis timeAxis;
    std::string svg;
};

CSizePlot::CSizePlot(const CSizeHistory& history, std::optional<double> seconds)
{
    const std::vector<SizeBin>& bins = history.Bins();
    columns.resize(std::min(bins.size(), static_cast<size_t>(PlotWidth)));
    uint64_t count = 0;
    uint64_t largest = 0;
    for (size_t i = 0; i < bins.size(); ++i) {
        columns[i * columns.size() / bins.size()].Merge(bins[i]);
        count += bins[i].count;
        largest = std::max({largest, bins[i].largestKey, bins[i].largestOther});
    }
    sizeAxis = SizeAxis(static_cast<double>(largest));
    timeAxis = seconds && *seconds > 0 ? TimeAxis(*seconds) : CountAxis(static_cast<double>(count));
}

std::string CSizePlot::Draw(const PlotText& text)
{
    DrawFrame(text);
    DrawLegend();
    DrawAxes();
    DrawBars(KeyColour, &SizeBin::largestKey);
    DrawBars(OtherColour, &SizeBin::largestOther);
    DrawDots();
    DrawMean();
    Add("</svg>\n");
    return std::move(svg);
}

void CSizePlot::DrawFrame(const PlotText& text)
{
    Add("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" height=\"{1}\" viewBox=\"0 0 {0} {1}\" "
        "font-family=\"sans-serif\" font-size=\"14\" fill=\"#333\">\n",
        Width, Height);
    Add("<title>{}</title>\n", EscapeXml(text.title));
    Add("<rect width=\"{}\" height=\"{}\" fill=\"#fff\"/>\n", Width, Height);
    Add("<text x=\"{}\" y=\"30\" font-size=\"19\" font-weight=\"bold\">{}</text>\n", Left,
        EscapeXml(text.title));
    Add("<text x=\"{}\" y=\"53\">{}</text>\n", Left, EscapeXml(text.subtitle));
}

void CSizePlot::DrawLegend()
{
    const bool several = HasSeveralPerColumn();
    double x = Left;
    const auto addEntry = [&](const char* colour, double thickness, const char* label, double width) {
        Add("<path d=\"M{} 73h16\" stroke=\"{}\" stroke-width=\"{}\"/>", x, colour, thickness);
        Add("<text x=\"{}\" y=\"78\">{}</text>\n", x + 22, label);
        x += width;
    };
    addEntry(KeyColour, 11, several ? "key frame (largest of the column)" : "key frame", several ? 270 : 120);
    addEntry(OtherColour, 11, several ? "other (largest of the column)" : "other", several ? 240 : 90);
    addEntry(MeanColour, 2, several ? "mean of the column" : "mean", 0);
}

void CSizePlot::DrawAxes()
{
    for (const Tick& tick : sizeAxis.ticks) {
        Add("<path d=\"M{} {:.1f}h{}\" stroke=\"#ddd\"/>", Left, Y(tick.value), PlotWidth);
        Add("<text x=\"{}\" y=\"{:.1f}\" text-anchor=\"end\">{}</text>\n", Left - 8, Y(tick.value) + 5,
            tick.label);
    }
    for (const Tick& tick : timeAxis.ticks) {
        const double x = Left + tick.value / timeAxis.end * PlotWidth;
        Add("<path d=\"M{:.1f} {}v6\" stroke=\"#333\"/>", x, PlotBottom);
        Add("<text x=\"{:.1f}\" y=\"{}\" text-anchor=\"middle\">{}</text>\n", x, PlotBottom + 22, tick.label);
    }
    Add("<path d=\"M{} {}h{}\" stroke=\"#333\"/>\n", Left, PlotBottom, PlotWidth);
    Add("<text x=\"{}\" y=\"{}\" text-anchor=\"middle\">{}</text>\n", Left + PlotWidth / 2, Height - 16,
        timeAxis.title);
    Add("<text transform=\"translate(22 {}) rotate(-90)\" text-anchor=\"middle\">{}</text>\n",
        Top + PlotHeight / 2, sizeAxis.title);
}

void CSizePlot::DrawBars(const char* colour, uint64_t SizeBin::*size)
{
    const double barWidth = ColumnWidth() < WideColumn ? ColumnWidth() : 0.8 * ColumnWidth();
    Add("<path stroke=\"{}\" stroke-width=\"{:.2f}\" d=\"", colour, barWidth);
    for (size_t i = 0; i < columns.size(); ++i) {
        if (columns[i].*size != 0)
            Add("M{:.2f} {}V{:.1f}", X(i), PlotBottom, Y(static_cast<double>(columns[i].*size)));
    }
    Add("\"/>\n");
}

void CSizePlot::DrawDots()
{
    const auto hasKey = [](const SizeBin& column) { return column.largestKey != 0; };
    const auto dots = static_cast<size_t>(std::count_if(columns.begin(), columns.end(), hasKey));
    if (ColumnWidth() > ThinColumn || dots > MaxDots)
        return;
    for (size_t i = 0; i < columns.size(); ++i) {
        if (hasKey(columns[i]))
            Add("<circle cx=\"{:.2f}\" cy=\"{:.1f}\" r=\"2\" fill=\"{}\"/>\n", X(i),
                Y(static_cast<double>(columns[i].largestKey)), KeyColour);
    }
}

void CSizePlot::DrawMean()
{
    if (!HasSeveralPerColumn()) {
        SizeBin all;
        for (const SizeBin& column : columns)
            all.Merge(column);
        const double mean = static_cast<double>(all.sum) / static_cast<double>(all.count);
        Add("<path d=\"M{} {:.1f}h{}\" stroke=\"{}\" stroke-width=\"1.5\" stroke-dasharray=\"7 5\"/>\n", Left,
            Y(mean), PlotWidth, MeanColour);
        return;
    }
    Add("<path fill=\"none\" stroke=\"{}\" stroke-width=\"1.2\" d=\"", MeanColour);
    for (size_t i = 0; i < columns.size(); ++i)
        Add("{}{:.1f} {:.1f}", i == 0 ? 'M' : 'L', X(i),
            Y(static_cast<double>(columns[i].sum) / static_cast<double>(columns[i].count)));
    Add("\"/>\n");
}

}  // namespace

std::string DrawSizes(const CSizeHistory& history, const PlotText& text, std::optional<double> seconds)
{
    return CSizePlot(history, seconds).Draw(text);
}

}  // namespace tool
