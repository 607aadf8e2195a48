# The Python package, where what it needs is there. Unless told otherwise (Python3_EXECUTABLE, or a virtual environment
# that is active) it is built for the system's Python: that is the one Debian's NumPy belongs to.
if(NOT DEFINED Python3_EXECUTABLE AND NOT DEFINED Python3_ROOT_DIR AND NOT DEFINED ENV{VIRTUAL_ENV})
    set(Python3_ROOT_DIR /usr)
endif()
if(CMAKE_CROSSCOMPILING) # CMake would ask a script of this machine where the headers are
    file(GLOB Python3_INCLUDE_DIR "${CMAKE_SYSROOT}/usr/include/python3.*")
endif()
find_package(Python3 QUIET COMPONENTS Interpreter Development.Module)
if(CMAKE_CROSSCOMPILING)
    # pybind11 would ask the interpreter of this machine, which is of the same version and looks for files of its own.
    set(PYTHON_MODULE_EXTENSION
        ".cpython-${Python3_VERSION_MAJOR}${Python3_VERSION_MINOR}-${CMAKE_LIBRARY_ARCHITECTURE}.so")
endif()
find_package(pybind11 2.10 QUIET CONFIG)
if(Python3_Development.Module_FOUND AND pybind11_FOUND)
    add_subdirectory(python)
else()
    message(STATUS "No Python package: it needs pybind11-dev and python3-dev (KO_WITH_PYTHON=OFF says so in advance)")
endif()
