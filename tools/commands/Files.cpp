#include "commands/Files.h"

#include "report/Message.h"

#include <algorithm>
#include <fmt/format.h>

namespace tool {

Status ForEachFile(const InputOptions& input, CReport& report,
                   const std::function<Status(const SourceOptions&)>& run)
{
    Status worst = StatusGood;
    for (const std::string& file : input.files) {
        SourceOptions source = input.source;
        source.file = file;
        try {
            worst = std::max(worst, run(source));
        } catch (const CToolError& error) {
            report.Fail(file == "-" ? "standard input" : file, error.what());
            worst = StatusFailed;
        }
        if (CInterrupt::IsRequested()) {
            Complain("ended by Ctrl-C: the results are those of what was read");
            break;
        }
    }
    report.Close();
    return worst;
}

Status ReportMissing(const CUnitSource& source, Status status)
{
    const std::vector<std::string> missing = source.Counts().container.DescribeMissing();
    for (const std::string& text : missing)
        Complain(fmt::format("{}: {}", source.Name(), text));
    return missing.empty() ? status : std::max(status, StatusFound);
}

void RefuseSeveral(const InputOptions& input, const char* option)
{
    if (input.HasSeveral())
        throw CToolError(fmt::format("{} takes one FILE; {} were given", option, input.files.size()));
}

}  // namespace tool
