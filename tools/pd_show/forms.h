// The forms of a dump of entries: for people, as JSON, and as the library's own value strings.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "pd_show/output.h"
#include "pd_show/pipeline.h"

namespace pd_show {

class Form {
public:
    virtual ~Form() = default;

    virtual void begin() {}
    virtual void begin_table(const Table& table, uint32_t count) = 0;
    // `value` is the entry's value string. False if it can't be understood.
    virtual bool entry(pd_entry handle, bool is_default, std::string_view value) = 0;
    virtual void end() {}
};

std::unique_ptr<Form> text_form(Output& out);
std::unique_ptr<Form> json_form(Output& out);
std::unique_ptr<Form> value_form(Output& out);

} // namespace pd_show
