#pragma once

#include <TALVOkrstream/Export.h>

#include <map>
#include <memory>
#include <string>

namespace OBJCREAT_Details {

/// What the repository needs to know of a factory. What it makes, and how, is for the program's own
/// classes to say, which derive from this one.
class TALVOKRSTREAM_EXPORT ProductFactoryBase {
public:
    /// Every name under which the factory answers, with the name of the type that is meant.
    using NameTable = std::map<std::string, std::string>;

    /// A factory that answers under these names.
    explicit ProductFactoryBase(NameTable names);
    virtual ~ProductFactoryBase();
    ProductFactoryBase(const ProductFactoryBase&) = delete;
    ProductFactoryBase& operator=(const ProductFactoryBase&) = delete;

    /// The names, which stay as they are for the factory's life.
    const NameTable& GetNameTable() const;

private:
    const NameTable names_;
};

/// The factories of the process, by name of type: what a program needs to make an object of a type
/// whose name it reads from a stream. A program derives its own repository from this, which enters
/// its factories into the map and makes objects with them.
///
/// **Threads.** Nothing locks the map: enter all factories, at program start, say, before several
/// threads look for them. The map is gone when the process ends, after the objects that were made
/// before its first use: who needs it in a destructor then touches it in the constructor. A module
/// takes its factories out before it is unloaded.
class TALVOKRSTREAM_EXPORT FactoryRepositoryBase {
public:
    /// The name of the type that `name` means, by the name tables of the factories, in the order of
    /// the map; the map's own keys do not count, nor does an empty type name. Throws an Exception,
    /// "'{1}' is not a registered type in FactoryRepository." with the name in the place of {1},
    /// for a name that no table has. Time of one look-up in each table.
    static std::string GetRealName(const std::string& name);

protected:
    /// Factories by the name of the type that each of them makes.
    using FactoryMap = std::map<std::string, std::shared_ptr<ProductFactoryBase>>;

    /// The map, empty at first; it shares ownership of its factories until the process ends. Keys
    /// keep their letter case. No factory is null.
    static FactoryMap& GetNameToProductFactoryMap();

    /// The factory entered under just this name, owned by the map; null when there is none.
    static ProductFactoryBase* GetFactory(const std::string& name);
};

} // namespace OBJCREAT_Details
