// What a command writes: text or JSON for a reader, and complaints about what it couldn't read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace pd_views {

// Gathers text and passes it on in large pieces.
class Output {
public:
    // Takes the text, or throws to end the command.
    using Write = std::function<void(std::string_view)>;

    Output(size_t capacity, Write write) : capacity_(capacity), write_(std::move(write)) {}

    std::string text; // not yet passed on; a line can be made here piece by piece

    // Ends what was added to `text`, and passes the text on if it has grown large.
    void put(std::string_view more) {
        text += more;
        if (text.size() >= capacity_) flush();
    }
    void flush() {
        if (!text.empty()) write_(text);
        text.clear();
    }

private:
    size_t capacity_;
    Write write_;
};

// Collects what couldn't be read. Keeps only the first complaints, so that a driver that refuses all reads doesn't flood
// the screen.
class Complaints {
public:
    void add(std::string what) {
        if (++count_ <= most_shown) shown_.push_back(std::move(what));
    }
    bool any() const {
        return count_ != 0;
    }
    size_t count() const {
        return count_;
    }
    // The first complaints; the last line says how many more there are.
    std::vector<std::string> lines() const {
        std::vector<std::string> all = shown_;
        if (count_ > all.size()) all.push_back("and " + std::to_string(count_ - all.size()) + " more like these");
        return all;
    }

private:
    static constexpr size_t most_shown = 20;
    std::vector<std::string> shown_;
    size_t count_ = 0;
};

// Appends a JSON string. Bytes that aren't UTF-8 become U+FFFD.
void put_json_string(std::string& out, std::string_view text);

// Writes the elements of an array, each on a line.
class JsonArray {
public:
    explicit JsonArray(Output& out) : out_(out) {
        out_.put("[");
    }
    // Begins an element. The caller adds it to the text of the output.
    void begin() {
        out_.put(std::exchange(empty_, false) ? "\n" : ",\n");
    }
    // The last elements are what couldn't be read.
    void end(const Complaints& complaints);

private:
    Output& out_;
    bool empty_ = true;
};

// Ends an object; the brace is missing yet. Its last member is what couldn't be read, if there is such.
void end_json_object(Output& out, const Complaints& complaints);

} // namespace pd_views
