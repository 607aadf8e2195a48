#include "rooms.h"

#include <ko/threads.h>

#include <omp.h>

#include <memory>
#include <thread>

namespace ko::python {

namespace {

/// The permission for as long as a `with` block runs.
class Permission {
public:
    explicit Permission(int threads) : m_threads(threads) {}
    Permission(const Permission&) = delete;
    Permission& operator=(const Permission&) = delete;

    /// One that was never left may end on another thread, whose own permission stays.
    ~Permission()
    {
        if (m_thread != std::this_thread::get_id())
            static_cast<void>(m_permission.release());
    }

    void enter()
    {
        if (m_permission)
            throw std::runtime_error("CallThreads is entered already");
        m_permission = std::make_unique<CallThreads>(m_threads);
        m_thread = std::this_thread::get_id();
    }

    void exit()
    {
        if (m_permission && m_thread != std::this_thread::get_id())
            throw std::runtime_error("CallThreads was entered on another thread");
        m_permission.reset();
    }

private:
    int m_threads;
    std::unique_ptr<CallThreads> m_permission;
    std::thread::id m_thread;
};

/// The threads of a team do not live on in a forked process, where the next parallel loop would wait for them. So
/// the team is sent away first, and both processes make a new one when they need it.
void beforeFork()
{
    omp_pause_resource_all(omp_pause_soft);
}

}  // namespace

void defineThreads(py::module_& module)
{
    py::class_<Permission>(module, "CallThreads", py::is_final())
        .def(py::init<int>(), py::arg("threads"))
        .def("__enter__",
             [](const py::object& self) {
                 self.cast<Permission&>().enter();
                 return self;
             })
        .def("__exit__", [](Permission& self, const py::args&) { self.exit(); })
        .def_static("current", &CallThreads::current);
    module.def("get_num_threads", &omp_get_max_threads);
    module.def(
        "set_num_threads",
        [](int threads) {
            if (threads < 1)
                throw py::value_error("at least one thread is needed");
            omp_set_num_threads(threads);
        },
        py::arg("threads"));
    py::module_::import("os").attr("register_at_fork")(py::arg("before") = py::cpp_function(&beforeFork));
}

}  // namespace ko::python
