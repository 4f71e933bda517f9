// Looks for mistakes in what the agent asks of the driver: values, handles, and calls at the wrong time.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <unordered_map>
#include <vector>

#include "watch/handles.h"
#include "watch/mistakes.h"
#include "watch/observer.h"
#include "watch/values.h"

namespace pd_watch {

struct CheckOptions {
    bool strict = false;
    bool leftovers = false;
    bool as_json = false;
    std::vector<std::string> kinds_off;
    std::vector<std::string> tables; // empty for all
};

class Checker : public Observer {
public:
    Checker(const Pipeline& pipeline, const CheckOptions& options);
    ~Checker() override;

    void begins(const Call& call, uint32_t thread) override;
    void replace_callback(Call& call) override;
    void ended(const Call& call, uint32_t thread) override;
    void finish() override;
    int exit_status() const override;
    bool needs_details() const override {
        return false;
    }

    // The callbacks that the driver makes.
    struct Digests;
    void digest_comes(const Digests& registration, const void* message);
    void device_removed(uint32_t device);
    void device_restored(uint32_t device);

private:
    using Findings = std::vector<Finding>;

    void check_values(const View& view, Findings& findings) const;
    bool has_device(const Call& call, uint32_t device) const;

    const Pipeline& pipeline_;
    const bool strict_;
    const bool leftovers_;
    Teller teller_;
    Values values_;
    std::atomic<uint64_t> calls_ = 0;
    std::atomic<uint32_t> clients_ = 0;
    std::atomic<bool> had_client_ = false;

    std::mutex mutex_; // of all below; not held while the driver or the agent runs
    Handles handles_;
    struct Change {
        uint32_t device;
        uint32_t profile;
        uint32_t thread;
    };
    std::vector<Change> changes_; // of profiles, that are under way
    std::set<uint32_t> removed_;  // devices whose clients were told so, until a call shows otherwise
    std::atomic<bool> has_removed_ = false;
    struct Message {
        uint32_t digest;
        const void* callback;
    };
    std::unordered_map<const void*, Message> messages_; // that wait for an acknowledgement
    std::vector<std::unique_ptr<Digests>> registrations_;
};

} // namespace pd_watch
