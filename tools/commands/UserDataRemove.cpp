// SEI units are edited message by message; everything else passes through. What `userdata add` made of a
// stream becomes that stream again.

#include "commands/Commands.h"
#include "commands/Files.h"
#include "report/EditReport.h"
#include "report/Message.h"
#include "stream/SeiUnit.h"

#include <algorithm>
#include <fmt/format.h>

namespace tool {

namespace {

class CUserDataRemover
{
public:
    CUserDataRemover(const UserDataRemoveOptions& given, CUnitSink& sink) : options(given), output(sink) {}

    void Take(const NalUnit& unit);

    uint64_t Removed() const { return removed; }
    uint64_t RemovedForeign() const { return removedForeign; }
    uint64_t Left() const { return left; }

private:
    bool IsRemoved(const SeiMessageView& message) const;
    void Count(const CSeiUnit& sei);

    const UserDataRemoveOptions& options;
    CUnitSink& output;
    uint64_t removed = 0;
    uint64_t removedForeign = 0;  // of those, the ones without the library's identifier
    uint64_t left = 0;            // user-data messages that stay
};

void CUserDataRemover::Take(const NalUnit& unit)
{
    if (unit.isOutOfBand)
        return;
    if (!unit.IsAnySei() || unit.ForbiddenZeroBit()) {
        output.Write(unit.sample, unit.data, unit.size);
        return;
    }
    const CSeiUnit sei(unit);
    Count(sei);
    const auto copy = sei.Without([this](const SeiMessageView& message) { return IsRemoved(message); });
    if (!copy.empty())
        output.Write(unit.sample, copy.data(), copy.size());
}

bool CUserDataRemover::IsRemoved(const SeiMessageView& message) const
{
    if (!message.IsUserData() || options.removesAll)
        return message.IsUserData();
    return options.identifier ? std::ranges::equal(message.Identifier(), *options.identifier)
                              : message.IsOfLibrary();
}

void CUserDataRemover::Count(const CSeiUnit& sei)
{
    for (size_t i = 0; i < sei.MessageCount(); ++i) {
        const SeiMessageView message = sei.Message(i);
        const bool isRemoved = IsRemoved(message);
        removed += isRemoved;
        removedForeign += isRemoved && !message.IsOfLibrary();
        left += message.IsUserData() && !isRemoved;
    }
}

Status RemoveFromFile(const UserDataRemoveOptions& options, CEditReport& report)
{
    const auto source = OpenSource(options.source);
    const auto output = source->OpenSink({.path = options.outputFile, .force = options.force});
    CUserDataRemover remover(options, *output);
    source->ForEach([&](const NalUnit& unit) { remover.Take(unit); },
                    [&](const auto& sample, const unsigned char* bytes, size_t size) {
                        output->WriteOther(sample, bytes, size);
                    });
    source->RefuseIfIncomplete();
    output->Commit();
    report.Begin(source->Facts());
    report.End({fmt::format("{}: {} removed, {} left", source->Name(), CountOf(remover.Removed(), "message"),
                            remover.Left()),
                {{"removedMessages", remover.Removed()},
                 {"removedForeignMessages", remover.RemovedForeign()},
                 {"messagesLeft", remover.Left()}}});
    if (remover.RemovedForeign() != 0)
        Complain(fmt::format(
            "{}: {} of other programs removed; if one is the encoder's signature, decoders may choose the "
            "wrong workarounds and show other pictures",
            source->Name(), CountOf(remover.RemovedForeign(), "message")));
    return StatusGood;
}

}  // namespace

Status RunUserDataRemove(const UserDataRemoveOptions& options)
{
    const auto report = MakeEditReport(
        "userdata remove", {.isJson = options.isJson, .isBesideResult = options.outputFile == "-"});
    return ForEachFile({{options.source.file}, options.source}, *report,
                       [&](const SourceOptions&) { return RemoveFromFile(options, *report); });
}

}  // namespace tool
