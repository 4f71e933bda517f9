// The embedded driver is recognised by functions that no other driver has.
#include "views/library.h"

#include <dlfcn.h>

#include "vl_model/control.h"

namespace pd_views {

void* Library::library_symbol(const std::string& name) const {
    void* const symbol = dlsym(library_, name.c_str());
    if (symbol == nullptr) throw Problem(Fault::failed, "the library has no function " + name);
    return symbol;
}

void* Library::driver_symbol(const char* name) const {
    return dlsym(driver_, name);
}

std::string Library::refusal(const std::string& call, pd_status status) const {
    const std::string text = call + " was refused with status " + std::to_string(status);
    if (status == PD_STATUS_UNEXPECTED) return text + " (" + pd_status_text(status) + ")";
    const auto name_of = driver_function<decltype(vl_model_status_name)>("vl_model_status_name");
    const auto text_of = driver_function<decltype(vl_model_status_text)>("vl_model_status_text");
    return name_of && text_of ? text + ", " + name_of(status) + " (" + text_of(status) + ")" : text;
}

bool Library::says_not_found(pd_status status) const {
    return driver_symbol("vl_model_status_name") != nullptr ? surely_not_found(status) : status != PD_STATUS_OK;
}

bool Library::surely_not_found(pd_status status) const {
    return driver_symbol("vl_model_status_name") != nullptr && status == VL_MODEL_NOT_FOUND;
}

} // namespace pd_views
