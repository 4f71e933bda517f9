// What is wrong with the values of a call: keys, masks and action data.
#pragma once

#include <unordered_map>
#include <vector>

#include "watch/mistakes.h"

namespace pd_watch {

// For each table the bits of a key and mask that may be set, so that a sound key costs a few comparisons.
class Values {
public:
    explicit Values(const Pipeline& pipeline);

    // What an entry with this key would mean; `is_add` if there will be one.
    void check_key(const Table& table, const pipe_match_record& match, bool is_add,
                   std::vector<Finding>& findings) const;

    enum class Use : uint8_t { entry, default_entry, member };
    void check_action(const Table& table, uint32_t action, const pipe_action_record& record, Use use, bool is_add,
                      std::vector<Finding>& findings) const;

    // The mask with the bits that the table matches, and the key under it. Only for masked tables.
    void matched_bits(const Table& table, const pipe_match_record& match, std::string& mask, std::string& key) const;

private:
    struct Bits {
        std::string key;  // that may be set
        std::string mask; // likewise
        std::string matched;
        std::string exact; // of exact fields
    };
    std::unordered_map<uint32_t, Bits> tables_;
};

bool has_key(const Table& table, const pipe_match_record& match);

} // namespace pd_watch
