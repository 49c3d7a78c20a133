#include "commands/Commands.h"
#include "inspect/PageWriter.h"
#include "io/Desktop.h"
#include "io/InputFile.h"
#include "io/OutputCheck.h"
#include "report/Message.h"

#include <filesystem>
#include <fmt/format.h>

namespace tool {

namespace {

constexpr size_t LargestPage = 64 << 20;

// The page is installed with the tool.
std::string FindPage(const InspectOptions& options)
{
    if (!options.pageFile.empty())
        return options.pageFile;
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    std::string page = (self.parent_path() / VIDEOPARAMS_PAGE_FROM_TOOL).lexically_normal();
    if (!std::filesystem::exists(page, error))
        throw CToolError(
            fmt::format("the inspector page is not installed ({}): build it with web/build and install "
                        "again, or name a page with --page",
                        page));
    return page;
}

std::string OutputName(const InspectOptions& options)
{
    if (!options.outputFile.empty())
        return options.outputFile;
    const std::string name = std::filesystem::path(options.source.file).filename();
    if (options.source.file == "-" || name.empty() || options.source.file.find("://") != std::string::npos)
        throw CToolError("-o is missing: the name of the page cannot be taken from the input");
    return name + ".html";
}

// Reads one file and writes its page.
class CInspect
{
public:
    CInspect(CUnitSource& given, CPageWriter& writer)
        : source(given), page(writer), inspection(source.Facts())
    {}

    Status Run();

private:
    void Take(NalUnit unit);
    void MoveRecords();
    Json Header() const;

    CUnitSource& source;
    CPageWriter& page;
    CInspection inspection;
    uint64_t unitCount = 0;
    Json outOfBand = Json::array();
};

Status CInspect::Run()
{
    source.ForEach([this](const NalUnit& unit) { Take(unit); },
                   [this](const std::shared_ptr<const Sample>&, const unsigned char* bytes, size_t size) {
                       page.AddStream({bytes, size});
                   });
    inspection.Finish(source.Counts());
    MoveRecords();
    if (inspection.Info().summary.Sizes().count == 0)
        throw CToolError(DescribeNoPicture(source.Name(), inspection.Info().damage));
    page.Commit(Header());
    if (!inspection.Info().IsDamaged())
        return StatusGood;
    Complain(fmt::format("{}: {}", source.Name(), inspection.Info().DescribeDamage()));
    return StatusFound;
}

// The page counts all units, also those that are not in the file.
void CInspect::Take(NalUnit unit)
{
    unit.number = unitCount++;
    if (unit.isOutOfBand)
        outOfBand.push_back(Hex({unit.data, unit.size}));
    else
        page.AddStream({unit.data, unit.size});
    inspection.Take(unit);
    MoveRecords();
}

void CInspect::MoveRecords()
{
    page.Add(inspection.Units());
    page.Add(inspection.AccessUnits());
    inspection.ForgetRecords();
}

Json CInspect::Header() const
{
    const SourceFacts& facts = source.Facts();
    return {{"name", std::filesystem::path(facts.name).filename().string()},
            {"size", source.Counts().bytes},
            {"codec", facts.codec == VideoCodecAVC ? "h264" : "h265"},
            {"format", facts.format},
            {"hasStream", page.HasStream()},
            {"outOfBand", outOfBand},
            {"results", inspection.Results()}};
}

void Show(const std::string& path, const InspectOptions& options)
{
    const bool isOpened = !options.staysClosed && HasDesktop() && OpenOnDesktop(path);
    Announce(fmt::format("{}: {}", path, isOpened ? "opened" : "open it in a browser"), false);
}

}  // namespace

Status RunInspect(const InspectOptions& options)
{
    const OutputRequest request{.path = OutputName(options),
                                .kind = {"an inspector page", LooksLikeInspectorPage},
                                .inputs = {options.source.file, options.source.setsFile, options.pageFile},
                                .force = options.force};
    CheckOutput(request);
    const std::string page = ReadWholeFile(FindPage(options), LargestPage);
    const auto source = OpenSource(options.source);
    CPageWriter writer(page, request);
    const Status status = CInspect(*source, writer).Run();
    if (request.path != "-")
        Show(request.path, options);
    return status;
}

}  // namespace tool
