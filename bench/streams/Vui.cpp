#include "streams/Vui.h"

namespace videoparams::streams {

void WriteWindow(BitWriter& writer, const std::optional<Window>& window)
{
    writer.U(1, window.has_value());
    if (window)
        writer.Ue(window->left).Ue(window->right).Ue(window->top).Ue(window->bottom);
}

void VideoDescription::WriteTo(BitWriter& writer) const
{
    writer.U(1, aspectRatio.has_value());
    if (aspectRatio) {
        writer.U(8, aspectRatio->aspect_ratio_idc);
        if (aspectRatio->aspect_ratio_idc == 255)
            writer.U(16, aspectRatio->sar_width).U(16, aspectRatio->sar_height);
    }
    writer.U(1, overscan_appropriate_flag.has_value());
    if (overscan_appropriate_flag)
        writer.U(1, *overscan_appropriate_flag);
    writer.U(1, signalType.has_value());
    if (signalType) {
        writer.U(3, signalType->video_format);
        writer.U(1, signalType->video_full_range_flag);
        writer.U(1, signalType->colour.has_value());
        if (signalType->colour) {
            writer.U(8, signalType->colour->colour_primaries);
            writer.U(8, signalType->colour->transfer_characteristics);
            writer.U(8, signalType->colour->matrix_coefficients);
        }
    }
    writer.Mark("colour");
    writer.U(1, chroma_sample_loc_type.has_value());
    if (chroma_sample_loc_type)
        writer.Ue(*chroma_sample_loc_type).Ue(*chroma_sample_loc_type);  // top field, bottom field
}

}  // namespace videoparams::streams
