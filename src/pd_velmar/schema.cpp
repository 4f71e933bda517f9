// The join of a schema from its constant parts.
#include "pd_velmar/schema.h"

#include "pd_velmar/text_writer.h"

namespace vl_pd::schema {

int join(char* buffer, std::initializer_list<std::string_view> parts) noexcept {
    char* end = buffer;
    for (const std::string_view part : parts)
        end = text::put(end, part);
    return text::finish(buffer, end);
}

} // namespace vl_pd::schema
