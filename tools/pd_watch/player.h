// Calls the driver's functions again as a recording says.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tools/pd_watch/comparison.h"
#include "watch/text.h"

namespace pd_watch {

enum class Outcome : uint8_t {
    same,
    differs,
    by_packets, // differs, but in what packets change; a recording has no packets
    left_out,   // an argument can't be made again
};

// Plays against the driver in the global scope of this process.
class Player {
public:
    // A session of the driver for all sessions of the recording; without it, sessions are opened, which needs the
    // embedded driver.
    Player(const Pipeline& pipeline, std::optional<uint32_t> session);

    // Makes a call of a recording again. Throws a Mistake if its arguments aren't those of its function.
    Outcome play(const cJSON* call);

    // What differs in the last call: first the recorded answer.
    const std::vector<Difference>& differences() const {
        return differences_;
    }

    static bool has_embedded_driver();
    // The devices that this has added, and are there.
    const std::set<uint64_t>& devices() const {
        return devices_;
    }
    // Adds a device to the embedded driver.
    void add_device(uint64_t device);
    // Ends the registrations of the clients.
    void deregister_clients();

private:
    struct Frame;

    uint64_t session(uint64_t recorded, uint64_t status);
    void follow_device(uint64_t device, uint64_t status);

    const Pipeline& pipeline_;
    Comparison comparison_;
    std::optional<uint32_t> session_;
    std::map<uint64_t, uint32_t> sessions_; // by those of the recording
    std::set<uint64_t> devices_;
    std::set<uint32_t> clients_;
    std::vector<Difference> differences_;
    Text line_;
    size_t capture_size_ = 0;
};

} // namespace pd_watch
