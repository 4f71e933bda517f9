// The walks over columns and parameters, and the messages.
#include "pd_velmar/comparison.h"

#include "pd_velmar/text_writer.h"

namespace vl_pd::comparison {

namespace {

using text::put;

// " differs 0x1 vs 0x2"
int values_differ(const char* message, char* out, uint32_t pd, uint32_t hw) {
    out = text::put_hex(put(out, " differs 0x"), pd);
    out = text::put_hex(put(out, " vs 0x"), hw);
    text::finish(message, out);
    return 0;
}

char* put_column_name(char* out, const Column& column) {
    out = put(out, "mspec ");
    return put(put(out, std::string_view(column.pd_name)), std::string_view(column.pd_suffix));
}

// Whether the values are equal under the mask. The mask's highest byte belongs to the field's first byte.
bool wide_equal(const Column& column, const Byte* pd, const Byte* hw) {
    const bytes::Wide left = bytes::load_wide(pd + column.record_offset);
    const bytes::Wide right = bytes::load_wide(hw + column.record_offset);
    return (((left.high ^ right.high) & column.mask.high) | ((left.low ^ right.low) & column.mask.low)) == 0;
}

} // namespace

int differ(char* message, const char* before, const char* name, const char* after) noexcept {
    char* out = put(message, std::string_view(before));
    out = put(put(out, std::string_view(name)), std::string_view(after));
    text::finish(message, out);
    return 0;
}

int match_columns(std::span<const Column> columns, const void* pd_record, const void* hw_record,
                  char* message) noexcept {
    const Byte* const pd = static_cast<const Byte*>(pd_record);
    const Byte* const hw = static_cast<const Byte*>(hw_record);
    for (const Column& column : columns) {
        if (column.wide()) {
            if (wide_equal(column, pd, hw)) continue;
            text::finish(message, put(put_column_name(message, column), " differs"));
            return 0;
        }
        const uint32_t left = load_word(pd, column) & column.word_mask();
        const uint32_t right = load_word(hw, column) & column.word_mask();
        if (left != right) return values_differ(message, put_column_name(message, column), left, right);
    }
    return 1;
}

int action_specs(uint32_t action, const void* pd_record, const void* hw_record, char* message) noexcept {
    for (const ParamColumn& param : param_columns(action)) {
        const uint32_t left = load_word(static_cast<const Byte*>(pd_record), param) & param.mask;
        const uint32_t right = load_word(static_cast<const Byte*>(hw_record), param) & param.mask;
        if (left == right) continue;
        char* const out = put(put(message, "aspec action_"), std::string_view(param.name));
        return values_differ(message, out, left, right);
    }
    return 1;
}

int actions_differ(uint32_t pd, uint32_t hw, char* message) noexcept {
    char* out = text::put_hex(put(message, "actions differ 0x"), pd);
    out = text::put_hex(put(out, ", vs 0x"), hw);
    text::finish(message, out);
    return 0;
}

int targets(const PointedAt& pd, bool pd_is_default, const PointedAt& hw, char* message) noexcept {
    if (pd.has_mbr) {
        if (!hw.has_mbr) return differ(message, "no mbr_hdl in hw");
        if (hw.mbr_hdl == 0 || hw.mbr_hdl == pd.mbr_hdl) return 1;
    } else if (pd.has_grp) {
        if (hw.has_grp || pd_is_default) return 1;
        return differ(message, "pd has group handle but not hw");
    } else if (hw.has_mbr) {
        return hw.mbr_hdl == 0 ? 1 : differ(message, "hw has mbr_hdl but not pd");
    } else if (hw.has_grp) {
        return hw.grp_hdl == 0 ? 1 : differ(message, "hw has grp_hdl but not pd");
    } else {
        return 1;
    }
    char* out = text::put_hex(put(message, "mbr_hdl differs: mbr_hdl_pd=0x"), pd.mbr_hdl);
    out = text::put_hex(put(out, ", mbr_hdl_hw=0x"), hw.mbr_hdl);
    text::finish(message, out);
    return 0;
}

} // namespace vl_pd::comparison
