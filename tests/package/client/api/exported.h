// Addresses of exported functions by their exact signatures.
#pragma once

#include <initializer_list>
#include <string>

namespace ko::test {

struct Export {
    const char* name;
    const void* address;
};

/// The address of the overload with exactly this signature; does not compile where there is none.
template <class Signature>
const void* exported(Signature* function)
{
    return reinterpret_cast<const void*>(function);
}

/// File name of the shared library that holds the address.
std::string libraryOf(const void* address);

/// Each of the functions must come out of the named library.
void expectExports(const std::string& library, std::initializer_list<Export> exports);

}  // namespace ko::test
