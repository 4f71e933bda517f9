// How the layer tells mistakes.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "watch/call.h"
#include "watch/kinds.h"
#include "watch/pipeline.h"

namespace pd_watch {

// What was seen in a call.
struct Finding {
    MistakeKind kind;
    const Table* table = nullptr;
    const char* action = nullptr; // its name
    std::string field = {};       // of the key or of the action
    std::string what;             // in words
    std::string value = {};
};

// Tells findings: the first of a sort at each place of the agent's code at once, and at the end how often each was
// seen.
class Teller {
public:
    Teller(bool as_json, const std::vector<std::string>& kinds_off, std::vector<std::string> tables);

    bool tells(MistakeKind kind) const {
        return !off_[static_cast<size_t>(kind)];
    }
    // `code` is the agent's. Without one, it is looked up on the stack.
    void tell(const Finding& finding, const Call* call, uint32_t thread, const void* code = nullptr);
    void tell_refusal(const Call& call, uint32_t thread, const Table* table);
    void finish(uint64_t calls);

    bool saw_mistake() const {
        return mistakes_ != 0;
    }

private:
    struct Told {
        std::string kind;
        std::string text = {};
        std::string json = {};
        uint64_t count = 0;
    };
    // A kind at a place of a table, in one function.
    struct Sort {
        std::string name = {};
        uint64_t seen = 0;
        size_t last = 0; // of told_
    };

    bool is_wanted(const Table* table) const;
    // Whether one more of this sort is only counted. Under the lock.
    bool is_enough(Sort& sort);
    void tell(const char* kind, const Finding& finding, const Call* call, uint32_t thread, const void* code,
              Sort& sort);
    void write(const Told& told, uint64_t count) const;

    bool as_json_;
    std::array<bool, mistake_count> off_{};
    std::vector<std::string> tables_; // empty for all
    std::mutex mutex_;
    std::vector<Told> told_;
    std::unordered_map<std::string, Sort> sorts_;
    std::unordered_map<uint64_t, Sort> refused_; // by function, table and status: agents may be refused very often
    std::unordered_map<std::string, std::vector<size_t>> places_; // of told_: a sort at a place of the code
    std::atomic<uint64_t> mistakes_ = 0;
    uint64_t refusals_ = 0;
};

} // namespace pd_watch
