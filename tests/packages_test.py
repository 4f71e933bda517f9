#!/usr/bin/env python3
"""Uses the Debian packages as a user does: packages_test.py PACKAGES, the folder of scripts/build-packages.

dpkg installs them into a root of their own, and nothing on the machine changes. There the README's agent is built by
the README's command, and runs. pd-show, its man page, its completion, the examples and the Python module are tried.
Then dpkg removes the packages, and nothing is left.
"""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

source = pathlib.Path(__file__).parent.parent
readme = (source / "README.md").read_text(encoding="utf-8")


def run(*command, environment=None, **options):
    variables = {name: value for name, value in os.environ.items()
                 if name not in ("LD_LIBRARY_PATH", "PYTHONPATH", "VL_PD_LIBRARIES")} | (environment or {})
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, env=variables, **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}\n{done.stdout}{done.stderr}status {done.returncode}")
    return done.stdout


def check(what, got, wanted):
    if got != wanted:
        sys.exit(f"{what}:\n--- got\n{got}\n--- wanted\n{wanted}")


def check_agents(root, folder):
    """The README's agent and the examples, built by pkg-config and by CMake."""
    libraries = root / "usr/lib/x86_64-linux-gnu"
    search = {"PKG_CONFIG_LIBDIR": f"{libraries}/pkgconfig", "PKG_CONFIG_SYSROOT_DIR": str(root)}
    # The loader of a machine searches in its own /usr/lib; the linker's option does so in this root.
    here = f"-Wl,-rpath,{libraries}"
    (folder / "agent.c").write_text(re.search(r"```c\n(.*?)```", readme, re.DOTALL)[1])
    command = re.search(r"^    (cc agent\.c \$\(pkg-config .*\) -o agent)$", readme, re.MULTILINE)[1]
    output = re.search(r"prints\s+`(.*?)`", readme)[1] + "\n"
    run("sh", "-c", f"{command} {here}", cwd=folder, environment=search)
    check("the agent", run(folder / "agent"), output)

    examples = root / "usr/share/doc/vl-bf-pd-tools/examples"
    flags = run("pkg-config", "--cflags", "--libs", "vl_pd_console", "vl_driver_model", environment=search).split()
    sources = sorted((examples / "leaf_switch").glob("*.cpp"))
    run("c++", "-std=c++20", f"-I{examples}", *sources, "-o", folder / "leaf_switch", *flags, here)
    check("the example", run(folder / "leaf_switch").splitlines()[-1],
          "Everything is taken down again, and the tables are empty.")

    lists = re.search(r"```cmake\n(.*?)```", readme, re.DOTALL)[1]
    (folder / "CMakeLists.txt").write_text(lists)
    configure = ["cmake", "-S", folder, "-B", folder / "build", f"-DCMAKE_PREFIX_PATH={root}/usr"]
    run(*configure)
    run("cmake", "--build", folder / "build")
    check("the agent through find_package", run(folder / "build/agent"), output)
    lists = lists.replace(" REQUIRED", " OPTIONAL_COMPONENTS vl_driver_model vl_pd_console no_such_library")
    lists += "target_link_libraries(agent PRIVATE vl_bf_pd::vl_pd_console)\n"
    found = "-".join(f"${{vl_bf_pd_{name}_FOUND}}" for name in ("vl_driver_model", "vl_pd_console", "no_such_library"))
    (folder / "CMakeLists.txt").write_text(f'{lists}message("found {found}-")\n')
    done = subprocess.run([str(word) for word in configure], capture_output=True, text=True, check=True)
    check("components", re.findall("found (.*)", done.stderr), ["TRUE-TRUE--"])
    (folder / "CMakeLists.txt").write_text(lists.replace("OPTIONAL_COMPONENTS", "REQUIRED COMPONENTS"))
    done = subprocess.run([str(word) for word in configure], capture_output=True, text=True, check=False)
    check("a component that is not there", "no_such_library isn't installed" in done.stderr, True)


def check_completion(root, table_names):
    def completed(*words):
        """What bash offers for the last of the words."""
        script = """
            compopt() { :; }
            . "$ROOT/usr/share/bash-completion/completions/pd-show"
            COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
            _pd_show "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
            printf '%s\\n' "${COMPREPLY[@]}"
            """
        path = f"{root}/usr/bin:{os.environ['PATH']}"
        return run("bash", "-c", script, "bash", "pd-show", *words, environment={"ROOT": str(root), "PATH": path}).split()

    check("commands", completed(""),
          ["tables", "table", "entries", "profiles", "counters", "verify", "match", "route", "serve"])
    check("options", completed("--s"), ["--session", "--seed"])
    check("an option of two words", completed("--al"), ["--allow-remote"])
    check("formats", completed("--demo", "--format", ""), ["text", "json", "value"])
    check("formats after =", completed("--format", "=", "j"), ["json"])
    for command in ("table", "entries", "verify", "match"):
        check(command, completed("--demo", "--device", "0", command, ""), table_names)
    check("one table", completed("table", "ipv4H"), ["ipv4Host"])
    check("after a table", completed("table", "ipv4Host", ""), [])
    check("fields", completed("match", "l2DmacClassify", ""), ["ingressPort=", "dmac="])
    check("fields to keep", completed("entries", "l2DmacClassify", "dmac", "=", "0200.0000.0011", ""),
          ["ingressPort=", "dmac=", "action="])
    check("a value", completed("match", "l2DmacClassify", "dmac", "="), [])
    for profile in completed("profiles", ""):
        run(root / "usr/bin/pd-show", "profiles", profile)
    counters = completed("counters", "")
    check("counters", {"egressPortQueueCount", "trapToCpuCount", "trapToCpu"} <= set(counters), True)
    for counter in counters:
        run(root / "usr/bin/pd-show", "counters", counter)
    driver = completed("--driver", f"{root}/usr/lib/x86_64-linux-gnu/libvl_dr")
    check("files", [pathlib.Path(name).name for name in driver], ["libvl_driver_model.so"])
    check("a socket's file", completed("--agent", f"{root}/usr/sha"), [f"{root}/usr/share"])


def check_man_pages(root):
    def page(name):
        return re.sub(r"\s+", " ", run("sh", "-c", 'man --warnings -l "$0" 2>&1 | col -b', root / "usr/share/man" / name,
                                       environment={"LC_ALL": "C", "MANWIDTH": "500"}))

    for tool in ("pd-show", "pd-watch"):
        shown, lost = page(f"man1/{tool}.1.gz"), []
        for line in run(root / "usr/bin" / tool, "--help").splitlines():
            for part in re.split(r"   *", line.strip()):
                if not re.fullmatch(r"Usage: .*|[A-Z][a-z ]*:", part) and re.sub(r"\s+", " ", part) not in shown:
                    lost.append(part)
        check(f"lines of {tool} --help that the man page lacks", lost, [])
    kinds = run(root / "usr/bin/pd-watch", "--help").split("Kinds of mistakes:")[1].split("\n\n")[0]
    shown = page("man1/pd-watch.1.gz").split("EXAMPLES OF MISTAKES")[1]
    check("mistakes without example", [kind for kind in re.findall(r"^  (\S+)", kinds, re.M) if kind not in shown], [])
    check("warnings", [name for name in ("man1/pd-show.1.gz", "man1/pd-watch.1.gz", "man3/vl_bf_pd.3.gz", "man3/vl_pd_console.3.gz")
                       if "warning:" in page(name)], [])
    # The statuses are those of the header.
    types = (root / "usr/include/vl_pd/types.h").read_text(encoding="utf-8")
    statuses = re.findall(r"^ +(PD_STATUS_\w+) = (\d+)", types, re.M)
    library = page("man3/vl_bf_pd.3.gz")
    check("statuses", [name for name, number in statuses if f"{name} {number}: " not in library], [])


def check_python(root):
    """A script takes libraries and description from this root. The modules are compiled when they are installed."""
    modules = root / "usr/lib/python3/dist-packages"
    check("compiled modules", {path.name.split(".")[0] for path in (modules / "vl_pd/__pycache__").glob("*.pyc")},
          {path.stem for path in (modules / "vl_pd").glob("*.py")})
    libraries = root / "usr/lib/x86_64-linux-gnu"
    shown = run("/usr/bin/python3", source / "tests/installed_module.py", environment={"PYTHONPATH": str(modules)})
    names = ("bf_pd_default", "driver_model", "velmar_switch_pipeline")
    check("the Python module", shown.splitlines(), ["5 []", *(f"{libraries}/libvl_{name}.so" for name in names)])


def main():
    packages = sorted(path for path in pathlib.Path(sys.argv[1]).glob("*.deb") if "-dbgsym_" not in path.name)
    version = re.search(r"project\(vl_bf_pd VERSION (\S+)", (source / "CMakeLists.txt").read_text())[1]
    check("versions", {run("dpkg-deb", "-f", path, "Version").strip() for path in packages}, {version})
    # dpkg-shlibdeps finds the library's package by the names in it.
    library = next(path for path in packages if path.name.startswith("libvl-bf-pd-default_"))
    symbols = set(re.findall(r"^ (\S+)@Base ", run("dpkg-deb", "-I", library, "symbols"), re.M))
    exports = (source / "abi/exports.txt").read_text().splitlines()
    check("symbols", symbols ^ {line.split("\t")[0] for line in exports}, set())
    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(temporary)
        root = folder / "root"
        database = root / "var/lib/dpkg"
        (database / "info").mkdir(parents=True)
        (database / "updates").mkdir()
        (database / "status").touch()
        # The packages that these ones depend on are those of the machine.
        outside = [line.split(" ")[0] for path in packages for line in run("dpkg-deb", "-f", path, "Depends").split(", ")]
        names = [path.name.split("_")[0] for path in packages]
        for name in set(outside) - set(names):
            run("dpkg-query", "-W", name.strip().removesuffix(":any"))
        # The scripts of the Python package name the package to these commands, which look for it on the machine.
        commands = folder / "commands"
        commands.mkdir()
        for name in ("py3compile", "py3clean"):
            (commands / name).write_text(f'#!/bin/sh\n/usr/bin/{name} "$DPKG_ROOT/usr/lib/python3/dist-packages"\n')
            (commands / name).chmod(0o755)
        path = {"PATH": f"{commands}:{os.environ['PATH']}"}
        dpkg = ["dpkg", f"--root={root}", "--force-not-root,depends,script-chrootless", "--log=/dev/null",
                "--path-include=*"]
        run(*dpkg, "--install", *packages, environment=path)
        table_names = [table["name"] for table in
                       json.loads((root / "usr/share/vl_pd/velmar_switch.json").read_text())["tables"]]
        check("pd-show", run(root / "usr/bin/pd-show", "--version"), f"pd-show {version}\n")
        watched = run(root / "usr/bin/pd-watch", "--record", folder / "calls", root / "usr/bin/pd-show", "--demo", "tables")
        check("a command that is watched", watched, run(root / "usr/bin/pd-show", "--demo", "tables"))
        check("its recording", "the same answers" in run(root / "usr/bin/pd-watch", "replay", folder / "calls"), True)
        check("its modules", "ipv4Host" in run(root / "usr/bin/pd-show", "--demo", "--time", "entries"), True)
        check_agents(root, folder)
        check_completion(root, table_names)
        check_man_pages(root)
        check_python(root)
        run(*dpkg, "--purge", *names, environment=path)
        check("what is left", [str(path) for path in root.rglob("*") if database not in path.parents and
                               path not in (database, *database.parents)], [])


if __name__ == "__main__":
    main()
