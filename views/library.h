// The library and the driver of this process. All functions are found by name.
#pragma once

#include <string>

#include "views/problem.h"
#include "vl_pd/velmar_switch.h"

namespace pd_views {

class Library {
public:
    // Handles of dlopen(), or RTLD_DEFAULT where the program is linked with them.
    Library(void* library, void* driver) : library_(library), driver_(driver) {}

    // A function of the library; `name` lacks its prefix. Throws a Problem if there is none.
    template <class Function>
    Function* function(const std::string& name) const {
        return reinterpret_cast<Function*>(library_symbol("p4_pd_velmar_switch_" + name));
    }
    // A function of the driver. Null if the driver lacks it; only the embedded driver has those of vl_model.
    template <class Function>
    Function* driver_function(const char* name) const {
        return reinterpret_cast<Function*>(driver_symbol(name));
    }

    // "counting was refused with status 7, NOT_FOUND (no such entry)". Drivers without names for statuses get a number.
    std::string refusal(const std::string& call, pd_status status) const;
    // Whether this status means that there is nothing. If the driver has no names for statuses, any refusal is taken
    // for that.
    bool says_not_found(pd_status status) const;
    // Whether this status surely means that there is nothing.
    bool surely_not_found(pd_status status) const;

private:
    void* library_symbol(const std::string& name) const;
    void* driver_symbol(const char* name) const;

    void* library_;
    void* driver_;
};

} // namespace pd_views
