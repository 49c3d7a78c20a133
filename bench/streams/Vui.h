#pragma once

#include "streams/BitWriter.h"

#include <optional>

namespace videoparams::streams {

struct ColourDescription
{
    uint32_t colour_primaries = 1;
    uint32_t transfer_characteristics = 1;
    uint32_t matrix_coefficients = 1;
};

struct VideoSignalType
{
    uint32_t video_format = 5;
    uint32_t video_full_range_flag = 0;
    std::optional<ColourDescription> colour{};
};

struct SampleAspectRatio
{
    uint32_t aspect_ratio_idc = 1;  // 255: the two sizes are written
    uint32_t sar_width = 1;
    uint32_t sar_height = 1;
};

struct Timing
{
    uint32_t num_units_in_tick = 1;
    uint32_t time_scale = 50;
};

// Cropping offsets.
struct Window
{
    uint32_t left = 0;
    uint32_t right = 0;
    uint32_t top = 0;
    uint32_t bottom = 0;
};

// A flag whether there is one, and its offsets.
void WriteWindow(BitWriter& writer, const std::optional<Window>& window);

// The first elements of vui_parameters(), the same in both standards. Marks: "colour".
struct VideoDescription
{
    std::optional<SampleAspectRatio> aspectRatio{};
    std::optional<uint32_t> overscan_appropriate_flag{};
    std::optional<VideoSignalType> signalType{};
    std::optional<uint32_t> chroma_sample_loc_type{};

    void WriteTo(BitWriter& writer) const;
};

}  // namespace videoparams::streams
