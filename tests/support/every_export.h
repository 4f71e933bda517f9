// Calls any exported function. Its arguments follow from its signature in abi/exports.txt: the handles that other
// exports have made, records of values that every field can hold, and room for outputs.
#pragma once

#include <array>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "support/library.h"
#include "vl_driver/registers.h"

namespace support {

struct Export {
    std::string name, result;
    std::vector<std::string> arguments; // each with its type
    int turn = 0;

    bool has(const char* part) const {
        return name.find(part) != name.npos;
    }
};

// All exported functions except init and cleanup, in an order in which each finds what it needs: first those that make
// members, groups, entries and placement data, last those that reset and delete.
const std::vector<Export>& every_export();

// The library on a device, and the arguments of one call at a time.
class ExportCalls {
public:
    // The unused bits of arguments have the byte `dirt`. The first of several starts the library on a fresh driver with
    // one device. The others have a session of their own on the same device.
    explicit ExportCalls(uint8_t dirt = 0, bool is_first = true);
    ~ExportCalls();
    ExportCalls(const ExportCalls&) = delete;
    ExportCalls& operator=(const ExportCalls&) = delete;

    // Makes the arguments of a call, and before that what the function needs: a free key, or something to delete. All
    // outputs are full of 0xEE.
    void prepare(const Export& next);
    // From now on functions that take a count get 3 instead of 1, and reads are from the software instead of hardware.
    void read_otherwise() {
        count_ = 3;
        read_from_hw_ = 0;
    }
    // Calls the prepared function and returns its result, which is 0 for void. May be called again.
    uint64_t run();
    // Keeps the handles and placement data that the function has made, for the calls that come.
    void keep();

    // The arguments of the prepared function.
    const std::vector<uint64_t>& words() const {
        return words_;
    }
    // What the last run printed.
    std::string printed() const;
    // The name of each output, and its bytes.
    const std::vector<std::pair<std::string, Bytes*>>& outputs() const {
        return outputs_;
    }
    pd_session session() const {
        return session_;
    }
    // Everything that a call of the driver sends, as text. The session, placement data and `handles` are left out,
    // because the driver never gives them twice. Addresses are left out too.
    std::string sent(const vl_model::Call& call, const std::vector<uint32_t>& handles = {}) const;
    // The handles that the prepared function takes, and those that were made for it.
    const std::vector<uint32_t>& handles() const {
        return handles_;
    }
    // The table or profile of the prepared function.
    std::string row() const {
        return row_of(export_->name);
    }

private:
    void set_up(const Export& next);
    void run_first(const std::string& beginning);
    static std::string row_of(const std::string& name);
    std::string maker_of(const std::string& what) const;
    void add_words(const std::string& argument);
    uint64_t pointer(const std::string& argument, const std::string& what);
    uint32_t integer(const std::string& what);
    Bytes& output(const std::string& what);

    const Export* export_ = nullptr;
    std::vector<uint64_t> words_;
    std::vector<uint32_t> handles_;
    std::vector<std::pair<std::string, Bytes*>> outputs_;
    uint8_t dirt_;
    bool is_first_;
    std::FILE* prints_;
    pd_session session_ = 0;
    std::map<std::string, uint32_t> made_; // handles
    std::map<std::string, uint64_t> blobs_;
    std::array<Bytes, 8> output_buffers_;
    alignas(4096) std::array<uint8_t, 1 << 12> input_{}; // libc's work depends on the place in a page
    uint32_t width_ = 8, count_ = 1, read_from_hw_ = 1;
    pd_meter_spec meter_{1, 2, 3, 4, PD_METER_TYPE_COLOR_UNAWARE};
    pipe_match_record match_;
    pipe_action_data data_;
    std::array<pipe_stful_element, 4> elements_{};
    pipe_stful_query query_;
};

} // namespace support
