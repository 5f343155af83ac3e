#pragma once

#include <cstddef>
#include <string>

/// Printable text as the content of an element.
std::string Xml(const std::string& text);

/// Printable text in the room of `length` letters; what is left out shows in the middle.
std::string Shortened(const std::string& text, std::size_t length);

/// A text element; `content` is XML.
std::string Text(int x, int y, const std::string& content);

/// A filled path element with further elements inside.
std::string Path(const std::string& path, const std::string& fill, const std::string& content = "");
