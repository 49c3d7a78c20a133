// The name of a benchmark is codec/access-unit size/residence/operation. A run of all benchmarks keeps all
// streams in memory; scripts/bench.sh runs one stream at a time.

#include "Measure.h"

int main(int argc, char** argv)
{
    using namespace bench;
    for (const VideoCodecType codec : {VideoCodecAVC, VideoCodecHEVC}) {
        for (const UnitSize unitSize : {UnitSize::Small, UnitSize::Medium, UnitSize::Large}) {
            for (const Residence residence : {Residence::Cache, Residence::Memory}) {
                const StreamKey key{codec, unitSize, residence};
                RegisterBaselines(key);
                RegisterParseOperations(key);
                RegisterUserDataOperations(key);
                RegisterLibavcodec(key);
                RegisterGstreamer(key);
            }
        }
    }
    RegisterHostileShapes();
    RegisterScale();

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
