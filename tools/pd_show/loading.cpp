// Loads by dlopen(), in an order that lets the library find the driver, or the clock in front of the driver. The
// embedded driver is recognised by functions that no other driver has.
#include "pd_show/loading.h"

#include <csignal>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include <dlfcn.h>
#include <unistd.h>

#include "pd_show/messages.h"
#include "pd_show/modules.h"
#include "vl_model/control.h"
#include "vl_pd/velmar_switch_pipeline.h"

namespace pd_show {

using pd_views::Fault;
using pd_views::Problem;

namespace {

constexpr char library_name[] = "libvl_bf_pd_default.so";
constexpr char embedded_driver[] = "libvl_driver_model.so";
constexpr char clock_module[] = "libpd_show_clock.so";
constexpr char demo_module[] = "libpd_show_demo.so";
constexpr char module_folder[] = "vl_bf_pd"; // in the folder of the libraries

// The library that was built or installed with this program; if there is none, the loader searches for the name.
std::string beside_this_program(const char* name, const char* folder = "") {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path path = program.parent_path() / PD_SHOW_LIBRARY_FOLDER / folder / name;
    return !error && std::filesystem::exists(path, error) ? path.lexically_normal().string() : name;
}

void* open(const std::string& path, int mode, const char* what) {
    void* const handle = dlopen(path.c_str(), mode);
    if (handle == nullptr) throw Problem(Fault::failed, std::string(what) + " can't be loaded: " + dlerror());
    return handle;
}

} // namespace

Loaded load(const std::optional<std::string>& driver, bool timed) {
    // The first global definition of a function counts, so the clock goes before the driver.
    void* const clock =
        timed ? open(beside_this_program(clock_module, module_folder), RTLD_NOW | RTLD_GLOBAL, "the clock") : nullptr;
    // Lazy: a driver may lack functions that are never called. The library binds all functions that it needs at once.
    void* const loaded =
        open(driver.value_or(beside_this_program(embedded_driver)), RTLD_LAZY | RTLD_GLOBAL, "the driver");
    if (timed && !reinterpret_cast<pd_show_clock_start_function*>(dlsym(clock, "pd_show_clock_start"))(loaded))
        throw Problem(Fault::failed, "the driver lacks a function that --time measures");
    void* const library = dlopen(beside_this_program(library_name).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        throw Problem(Fault::failed, std::string("the library can't be loaded beside this driver: ") + dlerror());
    return {pd_views::Library(library, loaded), clock};
}

pd_views::TimeSpent driver_time(const Loaded& loaded) {
    pd_views::TimeSpent spent;
    reinterpret_cast<pd_show_clock_read_function*>(dlsym(loaded.clock, "pd_show_clock_read"))(&spent);
    return spent;
}

namespace {

pd_session bring_up_demo(const Arguments& arguments) {
    if (arguments.device.value_or(0) != 0) throw Problem(Fault::bad_value, "--demo and --routes work only on device 0");
    void* const module = open(beside_this_program(demo_module, module_folder), RTLD_NOW | RTLD_LOCAL, demo_module);
    const auto demo = reinterpret_cast<pd_show_demo_function*>(dlsym(module, "pd_show_demo"));
    if (demo == nullptr) throw Problem(Fault::failed, std::string(demo_module) + " has no function pd_show_demo");
    pd_session session = 0;
    std::string problem;
    const int status = demo(arguments.demo, arguments.routes ? arguments.routes->c_str() : nullptr, &session, &problem);
    if (status != exit_shown) throw Problem(status == exit_failed ? Fault::failed : Fault::bad_value, problem);
    return session;
}

// p4_pd_velmar_switch_init() has no result: if the driver refuses to register the library, the library prints a line
// and calls abort(). The demo's code aborts in the same way when it can't go on.
void tell_abort(int) {
    constexpr std::string_view text =
        "pd-show: the library or the driver stopped the process, as the library does when "
        "the driver refuses to register it\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    _exit(exit_failed);
}

} // namespace

pd_session start(const pd_views::Library& library, const Arguments& arguments) {
    const auto add_device = library.driver_function<decltype(vl_model_device_add)>("vl_model_device_add");
    const auto open_session = library.driver_function<decltype(vl_model_session_open)>("vl_model_session_open");
    const bool embedded = add_device && open_session;
    const bool demo = arguments.demo || arguments.routes.has_value();
    if (embedded && arguments.session)
        throw Problem(Fault::bad_value,
                      "--session is for other drivers; with the embedded driver, a session is opened");
    if (!embedded && demo) throw Problem(Fault::bad_value, "--demo and --routes need the embedded driver");
    if (!embedded && !arguments.session)
        throw Problem(Fault::bad_value, "pd-show can't open a session with this driver; choose one by --session");

    pd_session session = arguments.session.value_or(0);
    std::signal(SIGABRT, tell_abort);
    if (demo)
        session = bring_up_demo(arguments);
    else
        library.function<decltype(p4_pd_velmar_switch_init)>("init")();
    if (embedded && !demo) {
        const auto check = [&](const char* call, pd_status status) {
            if (status != PD_STATUS_OK) throw Problem(Fault::failed, library.refusal(call, status));
        };
        check("adding the device", add_device(arguments.device.value_or(0), &velmar_switch_pipeline));
        check("opening a session", open_session(&session));
    }
    std::signal(SIGABRT, SIG_DFL);
    return session;
}

} // namespace pd_show
