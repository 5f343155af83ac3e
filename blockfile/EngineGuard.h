#pragma once

#include "blockfile/CompoundFileServer.h"

template <typename Action>
KrStreamE::Status CompoundFileServer::Guard(Action action) {
    if (status_ != KrStreamE::Ok) {
        return status_;
    }
    try {
        action();
    } catch (const CompoundFileServerError& error) {
        Fail(error.status);
    } catch (...) {
        Fail(KrStreamE::Failed);
    }
    return status_;
}
