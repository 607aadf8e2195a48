# The Python package, where what it needs is there. Unless told otherwise (Python3_EXECUTABLE, or a virtual environment
# that is active) it is built for the system's Python: that is the one Debian's NumPy belongs to.
if(NOT DEFINED Python3_EXECUTABLE AND NOT DEFINED Python3_ROOT_DIR AND NOT DEFINED ENV{VIRTUAL_ENV})
    set(Python3_ROOT_DIR /usr)
endif()
find_package(Python3 QUIET COMPONENTS Interpreter Development.Module)
find_package(pybind11 2.10 QUIET CONFIG)
if(Python3_Development.Module_FOUND AND pybind11_FOUND)
    add_subdirectory(python)
else()
    message(STATUS "No Python package: it needs pybind11-dev and python3-dev (KO_WITH_PYTHON=OFF says so in advance)")
endif()
