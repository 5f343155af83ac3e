#include "TALVOutl/Exception.h"

#include <boost/locale/format.hpp>
#include <boost/locale/message.hpp>

#include <locale>

ExceptionMessage::ExceptionMessage(const char* text) : text_(text) {}

ExceptionMessage ExceptionMessage::translate(const char* text) {
    return ExceptionMessage(text);
}

ExceptionMessage& ExceptionMessage::operator%(const std::string& argument) {
    arguments_.push_back(argument);
    return *this;
}

std::string ExceptionMessage::str() const {
    boost::locale::format message(boost::locale::translate(text_));
    for (const std::string& argument : arguments_) {
        message % argument;
    }
    return message.str(std::locale());
}

Exception::Exception() = default;
Exception::Exception(const ExceptionMessage& message) : text_(message.str()) {}
Exception::Exception(const Exception&) = default;
Exception& Exception::operator=(const Exception&) = default;
Exception::~Exception() = default;

const char* Exception::what() const noexcept {
    return text_.c_str();
}
