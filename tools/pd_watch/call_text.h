// A call of a recording as a line for people.
#pragma once

#include <cstdint>
#include <string>

#include "tools/pd_watch/recording.h"
#include "watch/pipeline.h"

namespace pd_watch {

class CallText {
public:
    // `names`: of the embedded driver's statuses, if its library is found.
    CallText(const Pipeline& pipeline, bool colours, bool names);

    // "0.012  pipe_mgr_mat_ent_add  ipv4Host #5 vrf=0x1 dip=10.0.0.1 -> setEcmp ecmpIndex=0x2", without the line end.
    std::string line(const cJSON* call) const;

    // "8 EXISTS"
    std::string status(uint64_t status) const;

private:
    const Pipeline& pipeline_;
    bool colours_;
    const char* (*name_of_)(uint32_t) = nullptr;
};

// A library beside this program, or its name alone.
std::string library_path(const char* name);

} // namespace pd_watch
