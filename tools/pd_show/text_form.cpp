// A line for each entry, with what it matches and what it does; and the value strings as they are.
#include <algorithm>
#include <string>
#include <vector>

#include "pd_show/characters.h"
#include "pd_show/forms.h"
#include "pd_show/value_text.h"

namespace pd_show {
namespace {

constexpr size_t most_per_value = 48; // an IPv6 address, or what is shorter
constexpr size_t most_beside = 192;   // handles, priority, words

// A field with what stands in front of its value.
struct Shown {
    const Field* field;
    std::string label;
};

struct ShownColumns {
    const Columns* columns;
    std::vector<Shown> fields;
    size_t room = 0;
};

ShownColumns shown(const Columns& columns) {
    ShownColumns all{.columns = &columns, .fields = {}, .room = 0};
    for (const Field& field : columns.fields) {
        all.fields.push_back({&field, " " + field.label + "="});
        all.room += all.fields.back().label.size() + 2 * most_per_value;
    }
    return all;
}

struct ShownAction {
    std::string name;
    ShownColumns params;
};

char* put_key(char* out, const ShownColumns& key, const char* values) {
    char* const begin = out;
    const Columns& columns = *key.columns;
    for (const Shown& each : key.fields) {
        const Field& field = *each.field;
        if (field.mask == Field::none) {
            out = put_value(put(out, each.label), field, columns, values);
            if (field.length != Field::none) {
                const Column& length = columns.all[field.length];
                out = put_decimal(put(out, "/"), number_of({values + length.position, length.digits}));
            }
        } else if (!matches_anything(field, columns, values)) {
            out = put_value(put(out, each.label), field, columns, values);
            if (!matches_whole(field, columns, values)) out = put_mask(put(out, "/"), field, columns, values);
        }
    }
    return out == begin ? put(out, " anything") : out;
}

class TextForm : public Form {
public:
    explicit TextForm(Output& out) : out_(out) {}

    void begin_table(const Table& table, uint32_t count) override {
        table_ = &table;
        entry_ = {};
        key_ = shown(table.key);
        actions_.clear();
        size_t most = 0;
        for (const Action& action : table.actions) {
            actions_.push_back({" -> " + action.name, shown(action.params)});
            most = std::max(most, actions_.back().name.size() + actions_.back().params.room);
        }
        room_ = key_.room + most + most_beside;
        out_.put(table.name + ", " + std::to_string(count) + (count == 1 ? " entry\n" : " entries\n"));
    }

    bool entry(pd_entry handle, bool is_default, std::string_view value) override {
        if (!split(*table_, value, entry_)) return false;
        char* out = out_.room(room_);
        if (is_default) {
            out = put(out, "  default");
        } else {
            out = put_decimal(put(out, "  #"), handle);
            if (entry_.key != nullptr) out = put_key(out, key_, entry_.key);
            if (table_->has_priority) out = put(put(out, " priority "), entry_.priority);
        }
        out = put_target(out, entry_);
        out_.put_to(put(out, "\n"));
        return true;
    }

private:
    char* put_target(char* out, const EntryText& entry) const {
        switch (entry.target) {
        case EntryText::Target::action: {
            const ShownAction& action = actions_[static_cast<size_t>(entry.action - table_->actions.data())];
            out = put(out, action.name);
            for (const Shown& each : action.params.fields)
                out = put_value(put(out, each.label), *each.field, *action.params.columns, entry.params);
            return out;
        }
        case EntryText::Target::member:
            return put(put(out, " -> member 0x"), entry.handle);
        case EntryText::Target::group:
            return put(put(out, " -> group 0x"), entry.handle);
        case EntryText::Target::none:
            return put(out, " -> neither member nor group");
        }
        return out;
    }

    Output& out_;
    const Table* table_ = nullptr;
    ShownColumns key_{};
    std::vector<ShownAction> actions_; // as in the table
    size_t room_ = 0;
    EntryText entry_;
};

class ValueForm : public Form {
public:
    explicit ValueForm(Output& out) : out_(out) {}

    void begin_table(const Table& table, uint32_t) override {
        out_.put("# " + table.name + "\n");
    }

    bool entry(pd_entry, bool, std::string_view value) override {
        out_.put_to(put(put(out_.room(value.size() + 1), value), "\n"));
        return true;
    }

private:
    Output& out_;
};

} // namespace

std::unique_ptr<Form> text_form(Output& out) {
    return std::make_unique<TextForm>(out);
}

std::unique_ptr<Form> value_form(Output& out) {
    return std::make_unique<ValueForm>(out);
}

} // namespace pd_show
