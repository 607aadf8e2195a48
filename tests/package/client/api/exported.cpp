#include "exported.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

namespace ko::test {

std::string libraryOf(const void* address)
{
    Dl_info info{};
    if (dladdr(address, &info) == 0)
        return "no library";
    const std::string path = info.dli_fname;
    return path.substr(path.rfind('/') + 1);
}

void expectExports(const std::string& library, std::initializer_list<Export> exports)
{
    for (const Export& entry : exports)
        EXPECT_EQ(libraryOf(entry.address), library) << entry.name;
}

}  // namespace ko::test
