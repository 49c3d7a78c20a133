#include "report/SvgPage.h"

#include "report/Characters.h"

namespace tool {

namespace {

// What fits at the widest page; capitals are wider than the letters counted with.
constexpr size_t TitleColumns = 84;
constexpr size_t SubtitleColumns = 136;

constexpr double LegendY = 73;
constexpr double LegendLetter = 7;

constexpr std::pair<const char*, const char*> DarkColours[] = {
    {PlotColours::Ink, "#d6dae0"}, {PlotColours::Paper, "#14171c"}, {PlotColours::Grid, "#343a42"},
    {PlotColours::Key, "#f5913e"}, {PlotColours::Other, "#4c8fdc"}, {PlotColours::Line, "#cfe3fa"},
};

std::string EscapeXml(std::string_view text)
{
    std::string escaped;
    for (const std::string& character : CharactersOf(text))
        escaped += character == "&" ? "&amp;" : character == "<" ? "&lt;" : character;
    return escaped;
}

}  // namespace

CSvgPage::CSvgPage(double width, double height, double margin, const PlotText& text) : legendX(margin)
{
    Add("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" height=\"{1}\" viewBox=\"0 0 {0} {1}\" "
        "font-family=\"sans-serif\" font-size=\"14\" fill=\"{2}\">\n",
        width, height, PlotColours::Ink);
    Add("<title>{}</title>\n<style>@media (prefers-color-scheme:dark){{", EscapeXml(text.title));
    for (const auto& [light, dark] : DarkColours)
        Add("[fill=\"{0}\"]{{fill:{1}}}[stroke=\"{0}\"]{{stroke:{1}}}", light, dark);
    Add("}}</style>\n<rect width=\"{}\" height=\"{}\" fill=\"{}\"/>\n", width, height, PlotColours::Paper);
    Add("<text x=\"{}\" y=\"30\" font-size=\"19\" font-weight=\"bold\">{}</text>\n", margin,
        EscapeXml(Shorten(text.title, TitleColumns)));
    Add("<text x=\"{}\" y=\"53\">{}</text>\n", margin, EscapeXml(Shorten(text.subtitle, SubtitleColumns)));
}

void CSvgPage::AddLegend(LegendMark mark, const char* colour, const std::string& label)
{
    switch (mark) {
    case LegendMark::BlockWithDot:
        Add("<path d=\"M{0} {2}v7\" stroke=\"{1}\" stroke-width=\"2\"/><circle cx=\"{0}\" cy=\"{3}\" "
            "r=\"2.5\" "
            "fill=\"{1}\"/>",
            legendX + 8, colour, LegendY - 2, LegendY - 3);
        break;
    case LegendMark::Area:
        Add("<path d=\"M{0} {1}h15v10h-15z\" stroke=\"{2}\" fill=\"{2}\" fill-opacity=\"{3}\"/>",
            legendX + 0.5, LegendY - 5, colour, SvgAreaOpacity);
        break;
    default:
        Add("<path d=\"M{} {}h16\" stroke=\"{}\" stroke-width=\"{}\"{}/>", legendX, LegendY, colour,
            mark == LegendMark::Block ? 11 : 2,
            mark == LegendMark::DashedLine ? " stroke-dasharray=\"7 2\"" : "");
    }
    Add("<text x=\"{}\" y=\"{}\">{}</text>\n", legendX + 22, LegendY + 5, label);
    legendX += 46 + LegendLetter * static_cast<double>(label.size());
}

std::string CSvgPage::Finish()
{
    Add("</svg>\n");
    return std::move(svg);
}

}  // namespace tool
