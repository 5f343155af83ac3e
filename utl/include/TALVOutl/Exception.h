#pragma once

#include <TALVOutl/Export.h>

#include <exception>
#include <string>
#include <vector>

/// A message for the user: a text with numbered placeholders, translated when it is asked for.
///
///     throw Exception(ExceptionMessage::translate("The new file name is {1}.") % name);
///
/// Objects are ordinary values; one thread at a time for one object.
class TALVOUTL_EXPORT ExceptionMessage {
public:
    /// A message whose text is looked up in the messages of the global locale (Boost.Locale message
    /// facets); `text` itself where the locale has no translation. `text` is ASCII, and copied.
    static ExceptionMessage translate(const char* text);

    /// Fills the next placeholder: the first argument replaces "{1}", the second "{2}", and so on.
    /// Arguments stand as they are, also where they look like placeholders.
    ExceptionMessage& operator%(const std::string& argument);

    /// The finished text. Placeholders without an argument vanish.
    std::string str() const;

private:
    explicit ExceptionMessage(const char* text);

    std::string text_;
    std::vector<std::string> arguments_;
};

/// An error that the user should see; what() is the finished message.
class TALVOUTL_EXPORT Exception : public std::exception {
public:
    /// An error without a text.
    Exception();
    /// Finishes `message` under the global locale of this moment.
    explicit Exception(const ExceptionMessage& message);
    /// Copies the text.
    Exception(const Exception&);
    /// Copies the text.
    Exception& operator=(const Exception&);
    ~Exception() override;

    /// The finished message, as long as the object is there.
    const char* what() const noexcept override;

private:
    std::string text_;
};
