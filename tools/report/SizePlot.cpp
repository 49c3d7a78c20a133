// A bar for each access unit, as long as there are enough pixels. If there are more access units, the upper
// panel shows the largest ones of each column, and the lower panel the bit rate. A column has at least eight
// access units, and a whole group of pictures if key frames are dense, so that it contains each kind of
// access unit: bars that come and go from column to column would show a pattern that is not in the stream.

#include "report/SizePlot.h"

#include "report/PlotData.h"
#include "report/Ticks.h"

#include <algorithm>
#include <cmath>

namespace tool {

namespace {

constexpr double Width = 1200;
constexpr double Left = 84;
constexpr double PlotWidth = Width - Left - 24;
constexpr double Top = 92;
constexpr double SizesHeight = 344;
constexpr double RateTop = Top + SizesHeight + 30;
constexpr double RateHeight = 110;
constexpr double BelowAxis = 64;

constexpr double MostBars = PlotWidth;  // a pixel for each
constexpr double LeastPerColumn = 8;
constexpr double NarrowestColumn = 3;
constexpr int MostHeldColumns = 4;
constexpr double ThinBar = 8;         // a key frame needs a dot to be seen
constexpr double GapBar = 3;          // from here on bars have gaps
constexpr double SeparateKeys = 6;    // pixels between key frames that are drawn one by one
constexpr double ReadableKeys = 12;   // pixels between key frames that may show in the bit rate
constexpr double LeastWindow = 1;     // seconds
constexpr double LeastPictures = 25;  // if there is no time

class CSizePlot
{
public:
    CSizePlot(const CSizeHistory& history, const PlotText& text, bool isInSeconds);
    std::string Draw();

private:
    void DrawVerticalAxis(const Axis& axis, double top, double height);
    void DrawHorizontalAxis();
    void DrawBars();
    void DrawBarsOf(const std::vector<PlotColumn>& bars, const char* colour, uint64_t SizeBin::*size);
    void DrawDots();
    void DrawMean();
    void DrawColumns();
    void DrawKeys(const std::vector<PlotColumn>& columns, const std::string& label);
    void DrawArea(const std::vector<PlotColumn>& columns, const char* colour, uint64_t SizeBin::*size,
                  double opacity);
    void DrawRate();
    double RateWindow() const;

    double X(double position) const { return Left + position / data.Length() * PlotWidth; }
    double Y(double size) const { return Top + (1 - size / sizeAxis.end) * SizesHeight; }
    double Y(uint64_t size) const { return Y(static_cast<double>(size)); }
    double Count() const { return static_cast<double>(data.Total().count); }
    double KeyPixels() const { return PlotWidth / static_cast<double>(data.Total().keyCount); }
    bool HasDenseKeys() const { return KeyPixels() < ReadableKeys; }
    bool HasBars() const { return Count() <= MostBars; }
    bool HasDots() const
    {
        return data.Total().keyCount != 0 && PlotWidth / Count() <= ThinBar && KeyPixels() >= SeparateKeys;
    }
    double Bottom() const { return HasBars() ? Top + SizesHeight : RateTop + RateHeight; }

    CPlotData data;
    CSvgPage page;
    Axis sizeAxis;
};

double PageHeight(const CSizeHistory& history)
{
    double count = 0;
    for (const SizeBin& bin : history.Bins())
        count += static_cast<double>(bin.count);
    return (count <= MostBars ? Top + SizesHeight : RateTop + RateHeight) + BelowAxis;
}

CSizePlot::CSizePlot(const CSizeHistory& history, const PlotText& text, bool isInSeconds)
    : data(history, isInSeconds), page(Width, PageHeight(history), Left, text),
      sizeAxis(SizeAxis(static_cast<double>(std::max(data.Total().largestKey, data.Total().largestOther)), 8))
{}

std::string CSizePlot::Draw()
{
    DrawVerticalAxis(sizeAxis, Top, SizesHeight);
    if (HasBars()) {
        DrawBars();
    } else {
        DrawColumns();
        DrawRate();
    }
    DrawHorizontalAxis();
    return page.Finish();
}

void CSizePlot::DrawVerticalAxis(const Axis& axis, double top, double height)
{
    for (const Tick& tick : axis.ticks) {
        const double y = top + (1 - tick.value / axis.end) * height;
        page.Add("<path d=\"M{} {:.1f}h{}\" stroke=\"{}\"/>", Left, y, PlotWidth, PlotColours::Grid);
        page.Add("<text x=\"{}\" y=\"{:.1f}\" text-anchor=\"end\">{}</text>\n", Left - 8, y + 5, tick.label);
    }
    page.Add("<text transform=\"translate(22 {}) rotate(-90)\" text-anchor=\"middle\">{}</text>\n",
             top + height / 2, axis.title);
}

void CSizePlot::DrawHorizontalAxis()
{
    const Axis axis = data.IsInSeconds() ? TimeAxis(data.Length()) : CountAxis(data.Length());
    for (const Tick& tick : axis.ticks) {
        page.Add("<path d=\"M{:.1f} {}v6\" stroke=\"{}\"/>", X(tick.value), Bottom(), PlotColours::Ink);
        page.Add("<text x=\"{:.1f}\" y=\"{}\" text-anchor=\"middle\">{}</text>\n", X(tick.value),
                 Bottom() + 22, tick.label);
    }
    page.Add("<path d=\"M{} {}h{}\" stroke=\"{}\"/>\n", Left, Bottom(), PlotWidth, PlotColours::Ink);
    page.Add("<text x=\"{}\" y=\"{}\" text-anchor=\"middle\">{}</text>\n", Left + PlotWidth / 2,
             Bottom() + BelowAxis - 16, axis.title);
}

// Key frames are drawn first, because they usually are the larger ones.
void CSizePlot::DrawBars()
{
    page.AddLegend(HasDots() ? LegendMark::BlockWithDot : LegendMark::Block, PlotColours::Key, "key frame");
    page.AddLegend(LegendMark::Block, PlotColours::Other, "other");
    page.AddLegend(LegendMark::DashedLine, PlotColours::Line, "mean");
    DrawBarsOf(data.Bins(), PlotColours::Key, &SizeBin::largestKey);
    DrawBarsOf(data.Bins(), PlotColours::Other, &SizeBin::largestOther);
    DrawDots();
    DrawMean();
}

void CSizePlot::DrawBarsOf(const std::vector<PlotColumn>& bars, const char* colour, uint64_t SizeBin::*size)
{
    page.Add("<path fill=\"{}\" d=\"", colour);
    for (const PlotColumn& bar : bars) {
        if (bar.sizes.*size == 0)
            continue;
        const double width = X(bar.end) - X(bar.begin);
        const double gap = width < GapBar ? 0 : 0.2 * width;
        page.Add("M{:.2f} {}V{:.1f}h{:.2f}V{}z", X(bar.begin) + gap / 2, Top + SizesHeight,
                 Y(bar.sizes.*size), width - gap, Top + SizesHeight);
    }
    page.Add("\"/>\n");
}

void CSizePlot::DrawDots()
{
    if (!HasDots())
        return;
    for (const PlotColumn& bar : data.Bins()) {
        if (bar.sizes.keyCount != 0)
            page.Add("<circle cx=\"{:.2f}\" cy=\"{:.1f}\" r=\"2.5\" fill=\"{}\"/>\n",
                     X((bar.begin + bar.end) / 2), Y(bar.sizes.largestKey), PlotColours::Key);
    }
}

void CSizePlot::DrawMean()
{
    page.Add("<path d=\"M{} {:.1f}h{}\" stroke=\"{}\" stroke-width=\"1.5\" stroke-dasharray=\"7 5\"/>\n",
             Left, Y(static_cast<double>(data.Total().sum) / Count()), PlotWidth, PlotColours::Line);
}

void CSizePlot::DrawColumns()
{
    const double groupLength = HasDenseKeys() ? Count() / static_cast<double>(data.Total().keyCount) : 0;
    const double perColumn = std::max({LeastPerColumn, groupLength, Count() * NarrowestColumn / PlotWidth});
    const std::vector<PlotColumn> columns = data.Columns(static_cast<size_t>(Count() / perColumn));
    const std::string label =
        fmt::format(": largest of {:.0f}", Count() / static_cast<double>(columns.size()));
    // The lower area is drawn last, so that both are seen.
    const bool hasLargeKeys = data.Total().largestKey >= data.Total().largestOther;
    if (hasLargeKeys)
        DrawKeys(columns, label);
    DrawArea(columns, PlotColours::Other, &SizeBin::largestOther, 1);
    if (!hasLargeKeys)
        DrawKeys(columns, label);
    DrawDots();
    page.AddLegend(LegendMark::Block, PlotColours::Other, "other" + label);
}

void CSizePlot::DrawKeys(const std::vector<PlotColumn>& columns, const std::string& label)
{
    if (data.Total().keyCount == 0)
        return;
    if (HasDots()) {
        page.AddLegend(LegendMark::BlockWithDot, PlotColours::Key, "key frame");
        page.Add("<path stroke=\"{}\" stroke-width=\"1.5\" d=\"", PlotColours::Key);
        for (const PlotColumn& bin : data.Bins()) {
            if (bin.sizes.keyCount != 0)
                page.Add("M{:.2f} {}V{:.1f}", X((bin.begin + bin.end) / 2), Top + SizesHeight,
                         Y(bin.sizes.largestKey));
        }
        page.Add("\"/>\n");
        return;
    }
    page.AddLegend(LegendMark::Area, PlotColours::Key, "key frame" + label);
    DrawArea(columns, PlotColours::Key, &SizeBin::largestKey, SvgAreaOpacity);
}

// A column without such an access unit has the height of the previous one, unless there is a longer gap.
void CSizePlot::DrawArea(const std::vector<PlotColumn>& columns, const char* colour, uint64_t SizeBin::*size,
                         double opacity)
{
    uint64_t height = 0;
    int emptyColumns = 0;
    page.Add("<path fill=\"{0}\" fill-opacity=\"{1}\" stroke=\"{0}\" d=\"M{2} {3}", colour, opacity, Left,
             Top + SizesHeight);
    for (const PlotColumn& column : columns) {
        emptyColumns = column.sizes.*size == 0 ? emptyColumns + 1 : 0;
        if (emptyColumns == 0 || emptyColumns > MostHeldColumns)
            height = column.sizes.*size;
        page.Add("V{:.1f}H{:.1f}", Y(height), X(column.end));
    }
    page.Add("V{}z\"/>\n", Top + SizesHeight);
}

double CSizePlot::RateWindow() const
{
    const double pixel = data.Length() / PlotWidth;
    const double least = std::max(data.IsInSeconds() ? LeastWindow : LeastPictures, 3 * pixel);
    return std::min(HasDenseKeys() ? data.EvenWindow(least) : least, data.Length());
}

void CSizePlot::DrawRate()
{
    constexpr double Step = 2;
    const double window = RateWindow();
    std::vector<double> rates;
    for (double x = 0; x <= PlotWidth; x += Step)
        rates.push_back(data.Rate(x / PlotWidth * data.Length(), window));
    const double largest = *std::max_element(rates.begin(), rates.end());
    const Axis axis = data.IsInSeconds() ? BitRateAxis(largest, 4) : MeanAxis(largest, 4);
    DrawVerticalAxis(axis, RateTop, RateHeight);
    page.Add("<path fill=\"none\" stroke=\"{}\" stroke-width=\"1.5\" d=\"", PlotColours::Line);
    for (size_t i = 0; i < rates.size(); ++i)
        page.Add("{}{} {:.1f}", i == 0 ? 'M' : 'L', Left + static_cast<double>(i) * Step,
                 RateTop + (1 - rates[i] / axis.end) * RateHeight);
    page.Add("\"/>\n");
    page.AddLegend(LegendMark::Line, PlotColours::Line,
                   data.IsInSeconds() ? fmt::format("bit rate: mean of {:.3g} s", window)
                                      : fmt::format("mean of {:.0f} access units", window));
}

}  // namespace

std::string DrawSizes(const CSizeHistory& history, const PlotText& text, bool isInSeconds)
{
    return CSizePlot(history, text, isInSeconds).Draw();
}

}  // namespace tool
