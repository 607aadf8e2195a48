// Who may see the page.
#pragma once

#include <string>

namespace ko::tool {

/// Admits requests by their path and their headers. On the loopback address everybody on this machine may look;
/// on others, who knows the secret.
class Door {
public:
    /// `address` is numeric; empty stands for the loopback address. Throws `UsageError` for another text.
    explicit Door(const std::string& address);

    const std::string& address() const { return m_address; }

    /// What the paths of the page begin with: "/" or the secret between two of them.
    const std::string& prefix() const { return m_prefix; }

    /// The URL of the page.
    std::string url(int port) const;

    /// False for a path without the secret. Takes the same time for all wrong ones.
    bool knowsPath(const std::string& path) const;

    /// Whether a request was sent to this machine by a name that cannot be made to mean another one: a numeric
    /// address or localhost. A page of elsewhere whose name its owner has pointed at this machine is kept out.
    static bool isOwnHost(const std::string& host);

    /// Whether a change was asked for by the page itself.
    static bool isOwnOrigin(const std::string& origin, const std::string& host);

private:
    std::string m_address;
    std::string m_prefix;
};

}  // namespace ko::tool
