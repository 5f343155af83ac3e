#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The name under which entries are found: the letters A to Z in lower case.
std::string FoldCase(std::string_view name);

/// Whether `name` is that of the library's own record of free blocks, in any case.
bool IsFreeListName(std::string_view name);

/// The entry name of a path: no empty and no "." elements, ".." resolved lexically, no leading '/'.
/// Empty for "." and "/"; nothing for a path that leads above its start.
std::optional<std::string> EntryName(std::string_view path);

/// The elements of an entry name that can be a path below a folder as it stands; nothing for a name
/// that is empty or absolute or has an element that is empty, "." or "..".
std::optional<std::vector<std::string>> PathElements(std::string_view name);

/// `text` for a terminal or a message: control characters, those that change the direction of
/// text, backslashes and bytes that are not UTF-8 as escapes.
std::string Printable(std::string_view text);
