#include "live/door.h"

#include "cli/failure.h"

#include <array>
#include <random>

#include <arpa/inet.h>

namespace ko::tool {
namespace {

constexpr auto loopback = "127.0.0.1";

bool isNumeric(const std::string& address)
{
    in6_addr bytes;
    return inet_pton(AF_INET, address.c_str(), &bytes) == 1 ||
           inet_pton(AF_INET6, address.c_str(), &bytes) == 1;
}

/// 128 bits of the system's generator.
std::string newSecret()
{
    constexpr char digits[] = "0123456789abcdef";
    std::random_device source;
    std::string secret;
    for (int i = 0; i < 4; ++i)
        for (unsigned bits = source(), j = 0; j < 8; ++j, bits >>= 4)
            secret += digits[bits & 15];
    return secret;
}

/// The host without its port and, for an address of IPv6, without the brackets.
std::string withoutPort(const std::string& host)
{
    if (host.starts_with('['))
        return host.substr(1, host.find(']') - 1);
    return host.substr(0, host.find(':'));
}

}  // namespace

Door::Door(const std::string& address)
    : m_address(address.empty() ? loopback : address),
      m_prefix(address.empty() ? "/" : '/' + newSecret() + '/')
{
    if (!isNumeric(m_address))
        throw UsageError("--address " + address + ": no numeric address");
}

std::string Door::url(int port) const
{
    const bool isLong = m_address.find(':') != std::string::npos;
    return "http://" + (isLong ? '[' + m_address + ']' : m_address) + ':' + std::to_string(port) + m_prefix;
}

bool Door::knowsPath(const std::string& path) const
{
    unsigned difference = 0;
    for (std::size_t i = 0; i < m_prefix.size(); ++i)
        difference |= static_cast<unsigned>(m_prefix[i] ^ (i < path.size() ? path[i] : '\0'));
    return difference == 0;
}

bool Door::isOwnHost(const std::string& host)
{
    const std::string name = withoutPort(host);
    return name == "localhost" || isNumeric(name);
}

bool Door::isOwnOrigin(const std::string& origin, const std::string& host)
{
    return origin == "http://" + host;
}

}  // namespace ko::tool
