#include <TALVOkrstream/FactoryRepository.h>
#include <TALVOutl/Exception.h>

namespace OBJCREAT_Details {

ProductFactoryBase::ProductFactoryBase(NameTable names) : names_(std::move(names)) {}
ProductFactoryBase::~ProductFactoryBase() = default;

const ProductFactoryBase::NameTable& ProductFactoryBase::GetNameTable() const {
    return names_;
}

std::string FactoryRepositoryBase::GetRealName(const std::string& name) {
    for (const auto& [type, factory] : GetNameToProductFactoryMap()) {
        const ProductFactoryBase::NameTable& names = factory->GetNameTable();
        const auto found = names.find(name);
        if (found != names.end() && !found->second.empty()) {
            return found->second;
        }
    }
    throw Exception(
        ExceptionMessage::translate("'{1}' is not a registered type in FactoryRepository.") % name);
}

FactoryRepositoryBase::FactoryMap& FactoryRepositoryBase::GetNameToProductFactoryMap() {
    static FactoryMap factories;
    return factories;
}

ProductFactoryBase* FactoryRepositoryBase::GetFactory(const std::string& name) {
    const FactoryMap& factories = GetNameToProductFactoryMap();
    const auto found = factories.find(name);
    return found == factories.end() ? nullptr : found->second.get();
}

} // namespace OBJCREAT_Details
