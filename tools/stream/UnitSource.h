// Where NAL units come from. A source opens one file and hands on the units of one video stream in the order
// of the stream. Commands use this interface only: they do not know whether the file is a byte stream or a
// container.
//
// SPDX-License-Identifier: MIT

#pragma once

#include "io/Interrupt.h"
#include "io/OutputFile.h"
#include "stream/ContainerEnd.h"
#include "stream/NalUnit.h"
#include "stream/UnitSink.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tool {

struct SourceOptions
{
    std::string file;                     // "-" is the standard input
    std::optional<VideoCodecType> codec;  // detected if it is not given
    std::string setsFile;       // parameter sets that the stream lacks, as a byte stream; empty: none
    std::optional<int> stream;  // index of the video stream in a container; the best if it is not given
};

// Known as soon as a source is open.
struct SourceFacts
{
    std::string name;  // of the file, for messages
    std::string format = "byte stream";
    VideoCodecType codec = VideoCodecAVC;
    TimeBase timeBase;  // of the samples' times
    std::optional<ContainerFacts> container;
};

// Known when all units are read.
struct SourceCounts
{
    uint64_t bytes = 0;         // read from the file
    uint64_t units = 0;         // handed on
    uint64_t skippedBytes = 0;  // that belong to no unit; zeros before the first start code are not counted
    ContainerEnd container;
};

class CUnitSource
{
public:
    using TakeUnit = std::function<void(const NalUnit&)>;
    using TakeSkipped =
        std::function<void(const std::shared_ptr<const Sample>&, const unsigned char*, size_t)>;

    virtual ~CUnitSource() = default;

    // Reads the file to its end; once. The given parameter sets come first. `takeUnit` gets every unit with
    // an Annex B start code; the bytes are valid during the call. `takeSkipped` gets the bytes that belong to
    // no unit, and their sample: in the order of the stream, so that both together get every byte of it.
    // Throws CToolError.
    void ForEach(const TakeUnit& takeUnit, const TakeSkipped& takeSkipped = {});

    // While the source exists, Ctrl-C ends the reading of a live input, unless a copy is written.
    void EndOnInterrupt(std::unique_ptr<CInterrupt> given) { interrupt = std::move(given); }

    // Parameter sets that are not in the file, each with its start code. Call before ForEach.
    void GiveSets(std::vector<std::vector<unsigned char>> sets) { givenSets = std::move(sets); }

    // Call before ForEach to write an edited copy of the file: then everything that is not a unit of the
    // stream (other tracks, metadata) is copied by the source itself. The output may take the place of the
    // source's file. The source fills in `kind` and `editedInput` of the request. Throws CToolError.
    std::unique_ptr<CUnitSink> OpenSink(OutputRequest request);

    // Call before ForEach if results are printed while it runs: a progress bar on the same terminal would
    // break them up.
    void PrintsLines();

    // Call after ForEach and before an edited copy takes its place: a copy of a part would lose the rest.
    // Throws CToolError if the source was not read to its end.
    void RefuseIfIncomplete() const;

    const SourceFacts& Facts() const { return facts; }
    VideoCodecType Codec() const { return facts.codec; }
    const std::string& Name() const { return facts.name; }
    const SourceCounts& Counts() const { return counts; }

protected:
    virtual void ReadUnits(const TakeUnit& takeUnit, const TakeSkipped& takeSkipped) = 0;
    virtual std::unique_ptr<CUnitSink> MakeSink(OutputRequest request) = 0;

    SourceFacts facts;
    SourceCounts counts;
    bool showsProgress = true;

private:
    std::unique_ptr<CInterrupt> interrupt;
    std::vector<std::vector<unsigned char>> givenSets;
};

// Detects what the file is and opens it. Throws CToolError.
std::unique_ptr<CUnitSource> OpenSource(const SourceOptions& options);

}  // namespace tool
