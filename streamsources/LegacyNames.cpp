#include "streamsources/LegacyNames.h"

#include <TALVOutl/Strings.h>

#include <boost/locale/encoding.hpp>

namespace conv = boost::locale::conv;

std::string LegacyNames::ToFileName(const std::string& entryName) {
    return conv::to_utf<char>(entryName, GetLegacyStreamEncoding(), conv::stop);
}

std::string LegacyNames::FromFileName(const std::string& fileName) {
    return conv::from_utf<char>(fileName, GetLegacyStreamEncoding(), conv::stop);
}
