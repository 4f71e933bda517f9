// Loads by dlopen, in an order that lets the library find the driver and, if there is one, the clock in front of it.
// The embedded driver is known by the functions of its own side.
#include "pd_show/library.h"

#include <csignal>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include <dlfcn.h>
#include <unistd.h>

#include "pd_show/demo.h"
#include "pd_show/problem.h"
#include "vl_model/control.h"
#include "vl_pd/velmar_switch_pipeline.h"

namespace pd_show {
namespace {

constexpr char library_name[] = "libvl_bf_pd_default.so";
constexpr char embedded_driver[] = "libvl_driver_model.so";
constexpr char clock_module[] = "libpd_show_clock.so";

// A library that was built or installed with this program, or else one that the loader finds.
std::string beside_this_program(const char* name) {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path path = program.parent_path() / PD_SHOW_LIBRARY_FOLDER / name;
    return !error && std::filesystem::exists(path, error) ? path.lexically_normal().string() : name;
}

void* load(const std::string& path, int mode, const char* what) {
    void* const handle = dlopen(path.c_str(), mode);
    if (handle == nullptr) throw Problem(exit_failed, std::string(what) + " can't be loaded: " + dlerror());
    return handle;
}

} // namespace

Library::Library(const std::optional<std::string>& driver, bool timed) {
    // Of all global definitions of a function the first one loaded counts: the clock's, and only then the driver's.
    if (timed) clock_ = load(beside_this_program(clock_module), RTLD_NOW | RTLD_GLOBAL, "the clock");
    // What a driver lacks of its own isn't asked for before it is needed. What the library needs of it is.
    driver_ = load(driver.value_or(beside_this_program(embedded_driver)), RTLD_LAZY | RTLD_GLOBAL, "the driver");
    if (timed && !reinterpret_cast<pd_show_clock_start_function*>(dlsym(clock_, "pd_show_clock_start"))(driver_))
        throw Problem(exit_failed, "the driver lacks a function of those that --time looks at");
    library_ = dlopen(beside_this_program(library_name).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library_ == nullptr)
        throw Problem(exit_failed, std::string("the library can't be loaded beside this driver: ") + dlerror());
}

void* Library::library_symbol(const std::string& name) const {
    void* const symbol = dlsym(library_, name.c_str());
    if (symbol == nullptr) throw Problem(exit_failed, "the library has no function " + name);
    return symbol;
}

void* Library::driver_symbol(const char* name) const {
    return dlsym(driver_, name);
}

void* Library::module_symbol(const char* module, const char* name) const {
    void* const symbol = dlsym(load(beside_this_program(module), RTLD_NOW | RTLD_LOCAL, module), name);
    if (symbol == nullptr) throw Problem(exit_failed, std::string(module) + " has no function " + name);
    return symbol;
}

TimeSpent Library::driver_time() const {
    TimeSpent spent;
    reinterpret_cast<pd_show_clock_read_function*>(dlsym(clock_, "pd_show_clock_read"))(&spent);
    return spent;
}

std::string Library::status_text(pd_status status) const {
    const std::string number = std::to_string(status);
    if (status == PD_STATUS_UNEXPECTED) return number + " (the driver's answer can't come from this pipeline)";
    const auto name = driver_function<decltype(vl_model_status_name)>("vl_model_status_name");
    const auto text = driver_function<decltype(vl_model_status_text)>("vl_model_status_text");
    return name && text ? number + ", " + name(status) + " (" + text(status) + ")" : number;
}

bool Library::says_not_found(pd_status status) const {
    const bool has_words = driver_symbol("vl_model_status_name") != nullptr;
    return has_words ? status == VL_MODEL_NOT_FOUND : status != PD_STATUS_OK;
}

namespace {

// The embedded driver's own side, by which devices are added and sessions opened.
struct OwnSide {
    decltype(vl_model_device_add)* device_add;
    decltype(vl_model_session_open)* session_open;

    explicit OwnSide(const Library& library)
        : device_add(library.driver_function<decltype(vl_model_device_add)>("vl_model_device_add")),
          session_open(library.driver_function<decltype(vl_model_session_open)>("vl_model_session_open")) {}

    bool there() const {
        return device_add && session_open;
    }
};

pd_session start_embedded(const Library& library, const OwnSide& own, pd_device device) {
    const auto check = [&](const char* what, pd_status status) {
        if (status != PD_STATUS_OK)
            throw Problem(exit_failed, std::string(what) + " was refused with status " + library.status_text(status));
    };
    pd_session session = 0;
    check("adding the device", own.device_add(device, &velmar_switch_pipeline));
    check("opening a session", own.session_open(&session));
    return session;
}

pd_session bring_up(const Library& library, const Arguments& arguments) {
    if (arguments.device != 0) throw Problem(exit_bad_usage, "--demo and --routes work on device 0 and on no other");
    pd_session session = 0;
    std::string problem;
    const int status = library.module_function<pd_show_demo_function>("libpd_show_demo.so", "pd_show_demo")(
        arguments.demo, arguments.routes ? arguments.routes->c_str() : nullptr, &session, &problem);
    if (status != exit_shown) throw Problem(static_cast<ExitStatus>(status), problem);
    return session;
}

// Starting the library has no result: if the driver refuses to register it, it says so and calls abort(). So does
// whatever else can't go on while an example is brought up.
void tell_abort(int) {
    constexpr std::string_view text =
        "pd-show: the library or the driver stopped the process, as the library does when "
        "the driver refuses to register it\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    _exit(exit_failed);
}

} // namespace

Place open_place(const Library& library, const Arguments& arguments) {
    const OwnSide own(library);
    const bool example = arguments.demo || arguments.routes.has_value();
    if (own.there() && arguments.session)
        throw Problem(exit_bad_usage, "--session is for drivers that aren't embedded; here a session is opened");
    if (!own.there() && example) throw Problem(exit_bad_usage, "--demo and --routes need the embedded driver");
    if (!own.there() && !arguments.session)
        throw Problem(exit_bad_usage, "this driver opens no sessions for others; say which by --session");
    pd_session session = arguments.session.value_or(0);
    std::signal(SIGABRT, tell_abort);
    if (example) {
        session = bring_up(library, arguments); // starts the library as well
    } else {
        library.function<decltype(p4_pd_velmar_switch_init)>("init")();
        if (own.there()) session = start_embedded(library, own, arguments.device);
    }
    std::signal(SIGABRT, SIG_DFL);
    return {.library = library,
            .session = session,
            .target = {.dev_id = arguments.device, .pipe_id = PD_ALL_PIPES, .reserved = 0},
            .from_hw = arguments.from_hw};
}

// What stands in an embedded driver ends with the process.
void close_place(const Place& place) {
    static_cast<void>(place.library.function<decltype(p4_pd_velmar_switch_cleanup)>("cleanup")());
}

} // namespace pd_show
