#!/usr/bin/env python3
"""Uses koimproc as another project would and checks what the resulting program prints."""
import argparse
import os
import shutil
import subprocess
import sys
from pathlib import Path

HERE = Path(__file__).parent
EXPECTED = "0 7 7 0\n"  # of client.cpp
CAMERA_EXPECTED = "1 0 0\n"  # of that in camera
WARNINGS = ["-std=c++17", "-Wall", "-Wextra", "-Wpedantic", "-Werror"]


def run(command, **options):
    print("+", *command, flush=True)
    return subprocess.run([str(word) for word in command], check=True, text=True, **options)


def expect_output(args, program, expected=EXPECTED, **options):
    printed = run([*args.emulator, program], stdout=subprocess.PIPE, **options).stdout
    if printed != expected:
        sys.exit(f"printed {printed!r} instead of {expected!r}")


def library_dir(prefix):
    return next(prefix.glob("**/libkoimproc.so")).parent


def build_with_cmake(args, name, definitions, targets, source="consumer"):
    build = args.work / name
    shutil.rmtree(build, ignore_errors=True)
    compiler = f"-DCMAKE_TOOLCHAIN_FILE={args.toolchain}" if args.toolchain else f"-DCMAKE_CXX_COMPILER={args.compiler}"
    run(["cmake", "-S", HERE / source, "-B", build, "-G", "Ninja", compiler,
         f"-DCMAKE_CXX_FLAGS={' '.join(WARNINGS[1:] + args.flags)}", *definitions])
    run(["cmake", "--build", build, "--target", *targets])
    return build


def place_of_package(args):
    # A toolchain for another processor searches its own tree alone.
    return (f"-Dkoimproc_DIR={library_dir(args.prefix) / 'cmake/koimproc'}" if args.toolchain
            else f"-DCMAKE_PREFIX_PATH={args.prefix}")


def find_package(args):
    build = build_with_cmake(args, "find_package", [place_of_package(args)], ["client", "core_client"])
    expect_output(args, build / "client")
    expect_output(args, build / "core_client", "2\n")


def add_subdirectory(args):
    """The whole of kocore, with a program; of koimproc, which would take minutes, a kernel and what includes it. All
    sources of a library are compiled with the same options, so one that compiles stands for the others."""
    room = "koimproc/src/CMakeFiles/ko_improc_objects.dir/masks"
    # Unoptimised: what is tested is the build, not the code.
    build = build_with_cmake(args, "add_subdirectory",
                             [f"-DKOIMPROC_SOURCE={args.source}", "-DCMAKE_BUILD_TYPE=Debug"],
                             ["core_client", "CMakeFiles/client.dir/client.cpp.o", f"{room}/binarize.cpp.o",
                              f"{room}/binarize_kernels.cpp.o"])
    expect_output(args, build / "core_client", "2\n")


def pkg_config_flags(args, package="koimproc"):
    search = library_dir(args.prefix) / "pkgconfig"
    environment = {**os.environ, "PKG_CONFIG_PATH": str(search)}
    return run(["pkg-config", "--cflags", "--libs", package], env=environment,
               stdout=subprocess.PIPE).stdout.split()


def include_flags(args, package="koimproc"):
    """Without the libraries, and with foreign headers as such, so that they may have warnings."""
    flags = [flag for flag in pkg_config_flags(args, package) if not flag.startswith(("-l", "-L"))]
    return flags if package == "koimproc" else [flag.replace("-I", "-isystem", 1) for flag in flags]


def build_with_pkg_config(args, name, package="koimproc", source="consumer"):
    program = args.work / name
    # Qt's own flags do not ask for position-independent code, its headers do.
    run([args.compiler, *WARNINGS, "-fPIC", *args.flags, HERE / source / "client.cpp", "-o", program,
         *pkg_config_flags(args, package)])
    return program


def with_libraries(args):
    return {**os.environ, "LD_LIBRARY_PATH": str(library_dir(args.prefix))}


def pkg_config(args):
    expect_output(args, build_with_pkg_config(args, "pkg_config_client"), env=with_libraries(args))


def camera(args):
    """The library of live cameras, in both ways."""
    build = build_with_cmake(args, "camera", [place_of_package(args)], ["client"], "camera")
    for program in (build / "client", build_with_pkg_config(args, "camera_client", "kocamera", "camera")):
        expect_output(args, program, CAMERA_EXPECTED, env=with_libraries(args))


def public_headers(args):
    root = args.prefix / "include"
    found = sorted(path.relative_to(root) for path in (root / "ko").rglob("*.h"))
    if Path("ko/koimproc.h") not in found:
        sys.exit("ko/koimproc.h is not installed")
    return found


def compile_headers(args, found):
    interop = {"qimage.h": f"{args.qt}Gui", "opencv.h": "opencv4"}  # what these headers need beside the package itself
    foreign = [flag for header in found if header.parent.name == "interop"
               for flag in include_flags(args, interop[header.name])]
    run([args.compiler, *WARNINGS, "-fPIC", "-fsyntax-only", *include_flags(args), *foreign, "-x", "c++", "-"],
        input="".join(f"#include <{header}>\n" for header in found))


def headers(args):
    """Every public header compiles on its own."""
    for header in public_headers(args):
        compile_headers(args, [header])


def headers_together(args):
    """All public headers compile in one source: for a second compiler, where the first has taken each on its own."""
    compile_headers(args, public_headers(args))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    ways = {way.__name__: way for way in (find_package, add_subdirectory, pkg_config, camera, headers,
                                             headers_together)}
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--toolchain", type=Path, help="CMake's file for another processor")
    parser.add_argument("--emulator", type=str.split, default=[], help="what runs the programs of another processor")
    parser.add_argument("--flags", type=str.split, default=[])
    parser.add_argument("--work", type=Path, required=True, help="directory for what is built")
    parser.add_argument("--prefix", type=Path, help="where the package is installed")
    parser.add_argument("--qt", default="Qt5", help="that the package is built with")
    parser.add_argument("--source", type=Path, help="root of the source tree")
    parser.add_argument("way", choices=ways)
    args = parser.parse_args()
    ways[args.way](args)


if __name__ == "__main__":
    main()
