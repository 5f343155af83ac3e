#pragma once

class CompoundFileServer;

/// What an engine needs of whoever keeps the list of open engines.
class ServerRegistry {
public:
    virtual ~ServerRegistry() = default;
    ServerRegistry() = default;
    ServerRegistry(const ServerRegistry&) = delete;
    ServerRegistry& operator=(const ServerRegistry&) = delete;

    /// The engine's last reference is gone; it is about to be closed and destroyed.
    virtual void Unregister(const CompoundFileServer& engine) = 0;
};
