#!/usr/bin/env python3
"""Does what the README tells a user to do, from the install to the output of the agent.

  install_test.py BUILD SOURCE CC CXX

Every installed header compiles by itself as C11 and C++11 without a warning (.hpp as C++20). The README's agent is
built by the README's command as C11, as C++17, and through find_package, and prints what the README says. pd-show runs
from the install. Other languages find the pipeline in the install. An agent in C11 and in C++11 starts a console. The
Python module takes its libraries from the install that it is part of, and in a checkout from the build.
"""

import ctypes
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Werror"]

# A program must find its libraries without help from the environment.
HELP = ("LD_LIBRARY_PATH", "PYTHONPATH", "VL_PD_LIBRARIES")
ENVIRONMENT = {name: value for name, value in os.environ.items() if name not in HELP}


def run(*command, accept=(0,), environment=None, **options):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True,
                          env=ENVIRONMENT | (environment or {}), **options)
    if done.returncode not in accept:
        sys.exit(f"{' '.join(map(str, command))}\n{done.stdout}{done.stderr}status {done.returncode}")
    return done.stdout + done.stderr


def check(what, got, wanted):
    if got != wanted:
        sys.exit(f"{what}:\n--- got\n{got}\n--- wanted\n{wanted}")


def check_headers(prefix, folder, cc, cxx):
    include = prefix / "include"
    headers = sorted(str(path.relative_to(include)) for path in include.rglob("*.h*"))
    if not any(name.endswith(".hpp") for name in headers) or "vl_pd/velmar_switch.h" not in headers:
        sys.exit(f"the install lacks headers: {headers}")
    for compiler, standard, suffix in ((cc, "c11", ".c"), (cxx, "c++11", ".cpp"), (cxx, "c++20", ".hpp")):
        sources = []
        for name in headers:
            if (suffix == ".hpp") != name.endswith(".hpp"):
                continue
            source = folder / (name.replace("/", "_") + suffix.replace("hpp", "cpp"))
            # Twice, for its guard. The declaration is for a header of macros alone: C wants at least one.
            source.write_text(f"#include <{name}>\n#include <{name}>\nextern int declaration;\n")
            sources.append(source)
        run(compiler, f"-std={standard}", *WARNINGS, "-fsyntax-only", f"-I{include}", *sources)
    # The public header collides with nothing that an agent may have included, and its functions throw nothing.
    agent = folder / "agent_headers.cpp"
    agent.write_text("#include <arpa/inet.h>\n#include <sys/socket.h>\n#include <vl_pd/velmar_switch.h>\n"
                     "static_assert(noexcept(p4_pd_velmar_switch_init()), \"\");\n")
    run(cxx, "-std=c++11", *WARNINGS, "-fsyntax-only", f"-I{include}", agent)
    # Every reserved byte of a driver record has a name.
    driver = folder / "driver.c"
    driver.write_text("#include <vl_driver/driver.h>\n")
    run(cc, "-std=c11", "-Wpadded", "-Werror", "-fsyntax-only", f"-I{include}", driver)


def check_descriptions(prefix):
    """A program without a C compiler finds the pipeline, and the embedded driver takes it."""
    driver = ctypes.CDLL(str(prefix / "lib/libvl_driver_model.so"))
    library = ctypes.CDLL(str(prefix / "lib/libvl_velmar_switch_pipeline.so"))
    library.velmar_switch_pipeline_description.restype = ctypes.c_void_p
    description = ctypes.c_void_p(library.velmar_switch_pipeline_description())
    check("adding a device", driver.vl_model_device_add(0, description), 0)
    share = prefix / "share/vl_pd"
    pipeline = json.loads((share / "velmar_switch.json").read_text())
    check("the schema beside the description", (share / pipeline["$schema"]).exists(), True)
    for table in pipeline["tables"]:
        key, entry = bytes(table["key_bytes"]), ctypes.c_uint32()
        status = driver.vl_model_lookup(0, table["handle"], key, len(key), 0, ctypes.byref(entry))
        not_supported, not_found = 14, 7
        check(f"a packet in {table['name']}", status, not_found if table["key"] else not_supported)


def check_console(prefix, folder, cc, cxx):
    """What the library exports, and an agent that starts and stops the console."""
    exported = run("nm", "-D", "--defined-only", prefix / "lib/libvl_pd_console.so").splitlines()
    check("exports", [line.split()[2] for line in exported], ["vl_pd_console_start", "vl_pd_console_stop"])
    source = """#include <vl_model/control.h>
                #include <vl_pd/console.h>
                #include <vl_pd/velmar_switch.h>
                #include <vl_pd/velmar_switch_pipeline.h>
                static vl_pd_console_options options; /* zeros */
                int main(void) {
                    vl_pd_console* console = 0;
                    options.socket_path = "console.socket";
                    p4_pd_velmar_switch_init();
                    if (vl_model_device_add(0, &velmar_switch_pipeline)) return 1;
                    if (vl_pd_console_start(&options, &console)) return 2;
                    vl_pd_console_stop(console);
                    return (int)p4_pd_velmar_switch_cleanup();
                }
                """
    flags = [f"-I{prefix}/include", f"-L{prefix}/lib", f"-Wl,-rpath,{prefix}/lib",
             "-lvl_pd_console", "-lvl_bf_pd_default", "-lvl_driver_model"]
    for compiler, standard, suffix in ((cc, "c11", ".c"), (cxx, "c++11", ".cpp")):
        path = folder / ("console" + suffix)
        path.write_text(source)
        run(compiler, f"-std={standard}", *WARNINGS, path, *flags, "-o", folder / "console")
        run(folder / "console", cwd=folder)


def check_python(prefix, build, source, folder):
    """The Python module: what its part of the install holds, and which libraries it takes."""
    libraries = ["libvl_bf_pd_default.so", "libvl_driver_model.so", "libvl_velmar_switch_pipeline.so"]

    def check_taken(what, modules, places):
        script = pathlib.Path(source) / "tests/installed_module.py"
        shown = run(sys.executable, script, environment={"PYTHONPATH": str(modules)})
        check(what, shown.splitlines(), ["5 []", *sorted(str(place.resolve()) for place in places)])

    alone = folder / "alone"
    run("cmake", "--install", build, "--prefix", alone, "--component", "python")
    parts = {path.relative_to(alone).parent.name for path in alone.rglob("*") if path.is_file()}
    check("folders of the module", parts - {"vl_bf_pd"}, {"vl_pd"})  # vl_bf_pd: documents
    modules = pathlib.Path("lib/python3/dist-packages")
    check("modules", {path.name for path in (alone / modules / "vl_pd").glob("*.py")},
          {path.name for path in (pathlib.Path(source) / "python/vl_pd").glob("*.py")})
    # Files that aren't libraries, in build folders around the install.
    for stray in (above / "build/release" / name for above in (prefix, prefix / modules) for name in ("lib", "src")):
        stray.mkdir(parents=True)
        for name in libraries:
            (stray / name).touch()
    check_taken("the module of the install", prefix / modules, [prefix / "lib" / name for name in libraries])

    checkout = folder / "checkout"
    shutil.copytree(pathlib.Path(source) / "python", checkout / "python")
    (checkout / "build").mkdir()
    (checkout / "build/release").symlink_to(build)
    (checkout / "lib").mkdir()
    (checkout / "lib" / libraries[0]).touch()
    check_taken("the module of a checkout", checkout / "python",
                [pathlib.Path(build) / ("driver/model" if "driver" in name else "src") / name for name in libraries])


def main():
    build, source, cc, cxx = sys.argv[1:]
    readme = (pathlib.Path(source) / "README.md").read_text(encoding="utf-8")
    agent = re.search(r"```c\n(.*?)```", readme, re.DOTALL).group(1)
    command = re.search(r"^    cc (agent\.c -I.*)$", readme, re.MULTILINE).group(1)
    cmake_lists = re.search(r"```cmake\n(.*?)```", readme, re.DOTALL).group(1)
    output = re.search(r"prints\s+`(.*?)`", readme).group(1) + "\n"

    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(temporary)
        prefix = folder / "prefix"
        run("cmake", "--install", build, "--prefix", prefix)
        version = re.search(r"project\(vl_bf_pd VERSION (\S+)", (pathlib.Path(source) / "CMakeLists.txt").read_text())[1]
        check("pd-show of the install", run(prefix / "bin/pd-show", "--version"), f"pd-show {version}\n")
        watch = run(prefix / "bin/pd-watch", "--strict", "--report", folder / "report", prefix / "bin/pd-show", "--demo", "entries", "l2Lookup")
        check("a command that is watched", watch, run(prefix / "bin/pd-show", "--demo", "entries", "l2Lookup"))
        check_headers(prefix, folder, cc, cxx)
        check_descriptions(prefix)
        check_console(prefix, folder, cc, cxx)
        check_python(prefix, build, source, folder)

        (folder / "agent.c").write_text(agent)
        (folder / "agent.cpp").write_text(agent)
        arguments = command.replace("PREFIX", str(prefix)).split()
        run(cc, "-std=c11", *WARNINGS, *arguments, cwd=folder)
        check("the agent in C11", run(folder / "agent"), output)
        run(cxx, "-std=c++17", *WARNINGS, *[word.replace("agent.c", "agent.cpp") for word in arguments], cwd=folder)
        check("the agent in C++17", run(folder / "agent"), output)

        (folder / "CMakeLists.txt").write_text(cmake_lists)
        configure = ["cmake", "-S", folder, "-B", folder / "build", f"-DCMAKE_PREFIX_PATH={prefix}",
                     f"-DCMAKE_C_COMPILER={cc}", "-DCMAKE_C_STANDARD=11"]
        run(*configure)
        run("cmake", "--build", folder / "build")
        check("the agent through find_package", run(folder / "build/agent"), output)
        # find_package reports the version, and refuses another one.
        (folder / "CMakeLists.txt").write_text(cmake_lists + 'message("found ${vl_bf_pd_VERSION}")\n')
        if f"found {version}\n" not in run(*configure):
            sys.exit("find_package doesn't report the version")
        (folder / "CMakeLists.txt").write_text(re.sub(r"vl_bf_pd [\d.]+", "vl_bf_pd 99.0", cmake_lists))
        if "requested version" not in run(*configure, accept=(1,)):
            sys.exit("find_package accepts a version that it should refuse")


if __name__ == "__main__":
    main()
