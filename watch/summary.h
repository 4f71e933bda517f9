// Counts calls, and tells the counts at the end or when the process gets SIGUSR1.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "watch/observer.h"
#include "watch/pipeline.h"

namespace pd_watch {

// How often the driver took how long. A bucket is an eighth as wide as its lowest time, so a quantile is right to 6 %.
class Times {
public:
    void add(uint64_t nanoseconds);
    // A time that this share of the calls didn't exceed.
    uint64_t quantile(double share) const;

private:
    std::array<uint32_t, 64 * 8> buckets_{};
    uint64_t count_ = 0;
};

class Summary : public Observer {
public:
    Summary(const Pipeline& pipeline, bool as_json);

    void ended(const Call& call, uint32_t thread) override;
    void finish() override {
        tell_now();
    }
    void tell_now() override;

private:
    struct Counts {
        uint64_t calls = 0;
        std::map<uint32_t, uint64_t> refusals; // by status
        Times times;
    };
    using Row = std::pair<const Function*, const Table*>; // null: the function names none

    std::string text() const;
    std::string json() const;

    const Pipeline& pipeline_;
    const bool as_json_;
    const uint64_t began_;
    std::mutex mutex_;
    std::map<Row, Counts> counts_;
    std::map<const Table*, int64_t> alive_; // entries, members and groups: those added less those deleted
    uint64_t calls_ = 0;
};

} // namespace pd_watch
