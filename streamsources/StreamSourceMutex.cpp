#include "streamsources/StreamSourceMutex.h"

boost::recursive_mutex& StreamSourceMutex() {
    static boost::recursive_mutex mutex;
    return mutex;
}
