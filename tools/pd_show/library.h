// The library and the driver beside it, loaded while the program runs: which driver that is, is the user's choice. All
// functions are found by their names.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "pd_show/arguments.h"
#include "pd_show/clock.h"
#include "vl_pd/velmar_switch.h"

namespace pd_show {

class Library {
public:
    // Loads the driver first, for all to see: the library finds its driver's functions there. `timed` puts a clock
    // between the two. Throws Problem.
    Library(const std::optional<std::string>& driver, bool timed);

    // A function of the library; the name is without its prefix. Throws Problem if there is none.
    template <class Function>
    Function* function(const std::string& name) const {
        return reinterpret_cast<Function*>(library_symbol("p4_pd_velmar_switch_" + name));
    }
    // A function of the driver's own side; null if it has none of that name.
    template <class Function>
    Function* driver_function(const char* name) const {
        return reinterpret_cast<Function*>(driver_symbol(name));
    }
    // A function of one of the modules that belong to this program. Throws Problem.
    template <class Function>
    Function* module_function(const char* module, const char* name) const {
        return reinterpret_cast<Function*>(module_symbol(module, name));
    }

    // Of the reads that went through the clock; the library was loaded with one.
    TimeSpent driver_time() const;

    // "7, NOT_FOUND (no such entry)" if the driver has words for its statuses.
    std::string status_text(pd_status status) const;
    // Whether the driver says by this that there is nothing, rather than that it can't tell. Of a driver without words
    // for its statuses that isn't known, and taken for granted.
    bool says_not_found(pd_status status) const;

private:
    void* library_symbol(const std::string& name) const;
    void* driver_symbol(const char* name) const;
    void* module_symbol(const char* module, const char* name) const;

    void* clock_ = nullptr;
    void* driver_ = nullptr;
    void* library_ = nullptr;
};

// Where the work is done.
struct Place {
    const Library& library;
    pd_session session;
    pd_dev_tgt target;
    bool from_hw;
};

// Starts the library and opens a session, with what --demo and --routes bring up. Throws Problem.
Place open_place(const Library& library, const Arguments& arguments);
void close_place(const Place& place);

} // namespace pd_show
