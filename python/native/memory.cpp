#include "rooms.h"

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace ko::python {

namespace {

/// A load waits for a store before it where their places in a page are the same. NumPy's large arrays begin at the
/// beginning of a page, so results begin at its other quarters in turn.
constexpr std::size_t pageBytes = 4096;
constexpr std::size_t quarters = 4;

/// Memory, and the first byte of it that is used.
struct Block {
    py::object memory;
    std::uint8_t* data;
    std::size_t bytes;
};

Block newBlock(std::size_t bytes, std::size_t placeInPage)
{
    // NumPy's own memory: tracemalloc sees it, and large pages hold what is large.
    py::array_t<std::uint8_t> memory(static_cast<py::ssize_t>(bytes + pageBytes - 1));
    const auto begin = reinterpret_cast<std::uintptr_t>(memory.mutable_data());
    std::uint8_t* const data = memory.mutable_data() + (placeInPage - begin) % pageBytes;
    return {std::move(memory), data, bytes};
}

/// Memory of arrays that are gone. The GIL guards it.
class ResultMemory {
public:
    explicit ResultMemory(std::size_t most) : m_most(most) {}

    std::size_t bytes() const { return m_bytes; }

    /// The block of that size that came back last; a new one where there is none.
    Block take(std::size_t bytes)
    {
        for (auto block = m_blocks.rbegin(); block != m_blocks.rend(); ++block) {
            if (block->bytes == bytes) {
                Block found = std::move(*block);
                m_blocks.erase(std::next(block).base());
                m_bytes -= bytes;
                return found;
            }
        }
        m_quarter = m_quarter % (quarters - 1) + 1;
        return newBlock(bytes, m_quarter * (pageBytes / quarters));
    }

    /// Those that have waited longest go first when there are too many. Where memory is short, the block itself goes.
    void keep(Block&& block) noexcept
    {
        const std::size_t bytes = block.bytes;
        try {
            m_blocks.push_back(std::move(block));
        } catch (const std::bad_alloc&) {
            return;
        }
        m_bytes += bytes;
        auto first = m_blocks.begin();
        for (; m_bytes > m_most; ++first)
            m_bytes -= first->bytes;
        m_blocks.erase(m_blocks.begin(), first);
    }

private:
    std::vector<Block> m_blocks;
    std::size_t m_bytes = 0;
    std::size_t m_most;
    std::size_t m_quarter = 0;  ///< of the page, in which the newest block begins
};

/// A block in use, which goes back when the last array over it is gone.
struct Lease {
    std::shared_ptr<ResultMemory> home;
    Block block;
};

std::size_t bytesOf(const std::vector<py::ssize_t>& shape, const py::dtype& dtype)
{
    py::ssize_t bytes = dtype.itemsize();
    for (const py::ssize_t extent : shape)
        if (extent < 0 || __builtin_mul_overflow(bytes, extent, &bytes))
            throw std::bad_alloc();
    return static_cast<std::size_t>(bytes);
}

py::array lend(const std::shared_ptr<ResultMemory>& home, const std::vector<py::ssize_t>& shape,
               const py::dtype& dtype)
{
    auto lease = std::make_unique<Lease>(Lease{home, home->take(bytesOf(shape, dtype))});
    std::uint8_t* const data = lease->block.data;
    const py::capsule owner(lease.get(), [](void* held) {
        const std::unique_ptr<Lease> ended(static_cast<Lease*>(held));
        ended->home->keep(std::move(ended->block));
    });
    (void)lease.release();
    return {dtype, shape, data, owner};
}

}  // namespace

void defineMemory(py::module_& module)
{
    py::class_<ResultMemory, std::shared_ptr<ResultMemory>>(module, "_ResultMemory", py::is_final())
        .def(py::init<std::size_t>(), py::arg("most"))
        .def_property_readonly("bytes", &ResultMemory::bytes)
        .def("lend", &lend, py::arg("shape"), py::arg("dtype"));
}

}  // namespace ko::python
