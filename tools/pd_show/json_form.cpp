// Entries as one JSON array. Entries of one table with the same action differ in values alone: cJSON writes a shape of
// them once, with marks in the places of values, and every entry is that text with its own values.
#include <cjson/cJSON.h>

#include <memory>
#include <string>
#include <vector>

#include "pd_show/characters.h"
#include "pd_show/forms.h"
#include "pd_show/value_text.h"

namespace pd_show {
namespace {

struct Delete {
    void operator()(cJSON* tree) const {
        cJSON_Delete(tree);
    }
    void operator()(char* text) const {
        cJSON_free(text);
    }
};

// What stands in the place of a value, a number's as it is and a text's in quotes: a character that names don't have.
constexpr char mark = '\1';
constexpr char marked_number[] = {mark, 0};
constexpr char marked_text[] = {'"', mark, '"', 0};

cJSON* checked(cJSON* node) {
    if (node == nullptr) throw std::bad_alloc();
    return node;
}

cJSON* add(cJSON* object, const std::string& name, cJSON* node) {
    if (!cJSON_AddItemToObject(object, name.c_str(), checked(node))) throw std::bad_alloc();
    return node;
}

class Shape {
public:
    // `sample` has all that entries of this shape have.
    Shape(const Table& table, bool is_default, const EntryText& sample) : table_(table) {
        const std::unique_ptr<cJSON, Delete> tree(checked(cJSON_CreateObject()));
        cJSON* const root = tree.get();
        add(root, "table", cJSON_CreateString(table.name.c_str()));
        add_place(root, "handle", {Kind::handle});
        add(root, "default", cJSON_CreateBool(is_default));
        if (sample.key != nullptr) add_columns(root, "key", table.key, true);
        if (table.has_priority && !is_default) add_place(root, "priority", {Kind::priority});
        if (sample.target == EntryText::Target::action) {
            add(root, "action", cJSON_CreateString(sample.action->name.c_str()));
            add_columns(root, "params", sample.action->params, false);
        } else if (sample.target != EntryText::Target::none) {
            add_place(root, sample.target == EntryText::Target::member ? "member" : "group", {Kind::target});
        }
        const std::unique_ptr<char, Delete> text(cJSON_PrintUnformatted(root));
        if (text == nullptr) throw std::bad_alloc();
        cut(text.get());
    }

    size_t room() const {
        return room_;
    }

    char* put(char* out, pd_entry handle, const EntryText& entry) const {
        for (size_t i = 0; i < places_.size(); ++i)
            out = put_place(pd_show::put(out, texts_[i]), places_[i], handle, entry);
        return pd_show::put(out, texts_.back());
    }

private:
    enum class Kind { handle, priority, target, value, mask, length };
    static constexpr size_t most_per_place = 48;

    struct Place {
        Kind kind;
        const Field* field = nullptr;
        bool in_key = false;
    };

    static bool is_number(const Place& place) {
        return place.field == nullptr || place.kind == Kind::length || place.field->display == Field::Display::hex ||
               place.field->display == Field::Display::dec;
    }

    // Places are in the order of the text: cJSON writes members in the order in which they were added.
    void add_place(cJSON* object, const std::string& name, const Place& place) {
        places_.push_back(place);
        add(object, name, cJSON_CreateRaw(is_number(place) ? marked_number : marked_text));
    }

    void add_columns(cJSON* root, const char* name, const Columns& columns, bool in_key) {
        cJSON* const object = add(root, name, cJSON_CreateObject());
        for (const Field& field : columns.fields) {
            if (field.mask == Field::none && field.length == Field::none) {
                add_place(object, field.label, {Kind::value, &field, in_key});
                continue;
            }
            cJSON* const both = add(object, field.label, cJSON_CreateObject());
            add_place(both, "value", {Kind::value, &field, in_key});
            if (field.mask != Field::none) add_place(both, "mask", {Kind::mask, &field, in_key});
            if (field.length != Field::none) add_place(both, "length", {Kind::length, &field, in_key});
        }
    }

    // At the marks.
    void cut(std::string_view text) {
        room_ = text.size() + places_.size() * most_per_place;
        for (;;) {
            const size_t at = text.find(mark);
            texts_.emplace_back(std::string(text.substr(0, at)));
            if (at == std::string_view::npos) return;
            text.remove_prefix(at + 1);
        }
    }

    char* put_place(char* out, const Place& place, pd_entry handle, const EntryText& entry) const {
        switch (place.kind) {
        case Kind::handle:
            return put_decimal(out, handle);
        case Kind::priority:
            return pd_show::put(out, entry.priority);
        case Kind::target:
            return put_decimal(out, number_of(entry.handle));
        case Kind::value:
        case Kind::mask:
        case Kind::length:
            break;
        }
        const Columns& columns = place.in_key ? table_.key : entry.action->params;
        const char* const values = place.in_key ? entry.key : entry.params;
        const Field& field = *place.field;
        if (is_number(place)) {
            const Column& column = columns.all[place.kind == Kind::value  ? field.value
                                               : place.kind == Kind::mask ? field.mask
                                                                          : field.length];
            return put_decimal(out, number_of({values + column.position, column.digits}));
        }
        return place.kind == Kind::value ? put_value(out, field, columns, values)
                                         : put_mask(out, field, columns, values);
    }

    const Table& table_;
    std::vector<Place> places_;
    std::vector<std::string> texts_; // in front of each place, and behind the last one
    size_t room_ = 0;
};

class JsonForm : public Form {
public:
    explicit JsonForm(Output& out) : out_(out) {}

    void begin() override {
        out_.put("[");
    }

    void begin_table(const Table& table, uint32_t) override {
        table_ = &table;
        entry_ = {};
        shapes_.clear();
    }

    bool entry(pd_entry handle, bool is_default, std::string_view value) override {
        if (!split(*table_, value, entry_)) return false;
        const Shape& shape = shape_of(entry_, is_default);
        char* const out = put(out_.room(shape.room() + 2), first_ ? "\n" : ",\n");
        out_.put_to(shape.put(out, handle, entry_));
        first_ = false;
        return true;
    }

    void end() override {
        out_.put("\n]\n");
    }

private:
    struct KnownShape {
        bool is_default;
        bool has_key;
        EntryText::Target target;
        const Action* action;
        Shape shape;
    };

    const Shape& shape_of(const EntryText& entry, bool is_default) {
        for (const KnownShape& known : shapes_)
            if (known.is_default == is_default && known.has_key == (entry.key != nullptr) &&
                known.target == entry.target && known.action == entry.action)
                return known.shape;
        shapes_.push_back(
            {is_default, entry.key != nullptr, entry.target, entry.action, Shape(*table_, is_default, entry)});
        return shapes_.back().shape;
    }

    Output& out_;
    const Table* table_ = nullptr;
    std::vector<KnownShape> shapes_;
    EntryText entry_;
    bool first_ = true;
};

} // namespace

std::unique_ptr<Form> json_form(Output& out) {
    return std::make_unique<JsonForm>(out);
}

} // namespace pd_show
