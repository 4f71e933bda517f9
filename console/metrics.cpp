// A monitor asks often, so what it gets is written while the counters are read, and each is read once.
#include "console/metrics.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "views/counters.h"

namespace console {
namespace {

using namespace pd_views;

bool is_escaped(char letter) {
    return letter == '"' || letter == '\\' || letter == '\n';
}

// Appends a value between quotes. The format knows three escapes.
void put_quoted(std::string& out, std::string_view value) {
    out += '"';
    if (std::ranges::none_of(value, is_escaped)) {
        out += value;
    } else {
        for (const char letter : value) {
            if (is_escaped(letter)) out += '\\';
            out += letter == '\n' ? 'n' : letter;
        }
    }
    out += '"';
}

void put_number(std::string& out, uint64_t number) {
    char digits[20];
    out.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

class Writer : public CountSink {
public:
    Writer(Output& out, bool is_open) : out_(out), is_open_(is_open) {}

    void family(const std::string& name, const char* type, const char* help) {
        // OpenMetrics names a family of counters without the end that all its samples have.
        const bool is_total = std::string_view(type) == "counter";
        const std::string head = name + (is_total && !is_open_ ? "_total " : " ");
        name_ = name + (is_total ? "_total" : "");
        out_.put("# HELP " + head + help + "\n# TYPE " + head + type + "\n");
    }
    void sample(uint64_t value) {
        out_.text += name_ + " ";
        end_sample(value);
    }
    void sample(const char* label, std::string_view of, uint64_t value) {
        out_.text.append(name_).append("{").append(label).append("=");
        put_quoted(out_.text, of);
        out_.text += "} ";
        end_sample(value);
    }

    void begin(const char* counter, const Table* table, const std::string&, const char*) override {
        labels_ = name_ + "{counter=\"" + counter + "\",";
        if (table != nullptr) labels_ += "table=\"" + table->name + "\",";
    }
    void entry(const pd_counter_value& value, pd_entry handle, bool is_default, std::string_view words) override {
        const size_t begin = out_.text.size();
        out_.text.append(labels_).append("entry=\"");
        if (is_default)
            out_.text += "default";
        else
            put_number(out_.text, handle);
        out_.text += '"';
        if (!words.empty()) {
            out_.text += ",of=";
            put_quoted(out_.text, words);
        }
        counts(begin, value);
    }
    void cell(const pd_counter_value& value, uint32_t index) override {
        const size_t begin = out_.text.size();
        out_.text.append(labels_).append("index=\"");
        put_number(out_.text, index);
        out_.text += '"';
        counts(begin, value);
    }

private:
    // Both counts, with the labels that begin there.
    void counts(size_t begin, const pd_counter_value& value) {
        const size_t length = out_.text.size() - begin;
        out_.text += ",count=\"a\"} ";
        put_number(out_.text, value.count_a);
        out_.text += '\n';
        out_.text.append(out_.text, begin, length).append(",count=\"b\"} ");
        end_sample(value.count_b);
    }
    void end_sample(uint64_t value) {
        put_number(out_.text, value);
        out_.put("\n");
    }

    Output& out_;
    bool is_open_;
    std::string name_;
    std::string labels_; // of the counter
};

void write_switch(const Work& work, Writer& to) {
    to.family("velmar_switch_table_entries", "gauge", "Entries of a table, except the default entry.");
    for (const Table& table : work.pipeline.tables)
        if (!table.key.empty())
            if (const std::optional<uint32_t> count = count_entries(work, table))
                to.sample("table", table.name, *count);
    to.family("velmar_switch_profile_members", "gauge", "Members of an action profile.");
    for (const Profile& profile : work.pipeline.profiles)
        if (const std::optional<uint32_t> count = count_members(work, profile))
            to.sample("profile", profile.name, *count);
    to.family("velmar_switch_profile_groups", "gauge", "Groups of an action profile.");
    for (const Profile& profile : work.pipeline.profiles)
        if (const std::optional<uint32_t> count = count_groups(work, profile))
            to.sample("profile", profile.name, *count);
    to.family("velmar_switch_counts", "counter",
              "Counts of entries and of cells that have counted, as the driver's copy has them.");
    read_counters(work, to);
}

void write_console(const Server::Load& load, const Complaints& complaints, Writer& to) {
    to.family("vl_pd_console_requests", "counter", "Sound requests, the one that is being answered included.");
    to.sample(load.requests);
    to.family("vl_pd_console_refused_clients", "counter",
              "Clients that were refused: other users, or more than the console has threads for.");
    to.sample(load.refused);
    to.family("vl_pd_console_sent_bytes", "counter", "Bytes of answers.");
    to.sample(load.bytes_sent);
    to.family("vl_pd_console_clients", "gauge", "Clients that have a thread now.");
    to.sample(load.clients);
    to.family("vl_pd_console_refused_reads", "gauge", "Reads that the driver refused for this answer.");
    to.sample(complaints.count());
}

} // namespace

void write_metrics(const Switch& shown, const Server::Load& load, const Request& request, Reply& reply) {
    const bool is_open = request.accept.find("application/openmetrics-text") != std::string::npos;
    stream(shown, {},
           is_open ? "application/openmetrics-text; version=1.0.0; charset=utf-8"
                   : "text/plain; version=0.0.4; charset=utf-8",
           reply, [&](const Work& work) {
               Writer writer(work.out, is_open);
               write_switch(work, writer);
               write_console(load, work.complaints, writer);
               if (is_open) work.out.put("# EOF\n");
               return true;
           });
}

} // namespace console
