// The library and the driver that the user chose, loaded while the program runs. All functions are found by name.
#pragma once

#include <optional>
#include <string>

#include "pd_show/arguments.h"
#include "pd_show/modules.h"
#include "vl_pd/velmar_switch.h"

namespace pd_show {

class Library {
public:
    // Loads the driver first, so that the library finds the driver's functions. `timed` puts the clock between the two.
    // Throws Problem.
    Library(const std::optional<std::string>& driver, bool timed);

    // A function of the library; `name` lacks its prefix. Throws Problem if there is none.
    template <class Function>
    Function* function(const std::string& name) const {
        return reinterpret_cast<Function*>(library_symbol("p4_pd_velmar_switch_" + name));
    }
    // A function of the driver. Null if the driver lacks it; only the embedded driver has those of vl_model.
    template <class Function>
    Function* driver_function(const char* name) const {
        return reinterpret_cast<Function*>(driver_symbol(name));
    }

    // The time spent in reads of the driver. Needs the clock.
    TimeSpent driver_time() const;

    // "counting was refused with status 7, NOT_FOUND (no such entry)". Drivers without names for statuses get a number.
    std::string refusal(const std::string& call, pd_status status) const;
    // Whether this status means that there is nothing. If the driver has no names for statuses, any refusal is taken
    // for that.
    bool says_not_found(pd_status status) const;

private:
    void* library_symbol(const std::string& name) const;
    void* driver_symbol(const char* name) const;

    void* clock_ = nullptr;
    void* driver_ = nullptr;
    void* library_ = nullptr;
};

// Starts the library, brings up what --demo and --routes ask for, and returns an open session. Throws Problem.
pd_session start(const Library& library, const Arguments& arguments);

} // namespace pd_show
