#include <TALVOkrstream/FactoryRepository.h>
#include <TALVOutl/Exception.h>

#include <gtest/gtest.h>

namespace {

using OBJCREAT_Details::ProductFactoryBase;

class Repository : public OBJCREAT_Details::FactoryRepositoryBase {
public:
    using FactoryRepositoryBase::GetFactory;
    using FactoryRepositoryBase::GetNameToProductFactoryMap;
};

class Factory : public testing::Test {
protected:
    void TearDown() override { Repository::GetNameToProductFactoryMap().clear(); }

    static std::shared_ptr<ProductFactoryBase> Enter(const std::string& key,
                                                     ProductFactoryBase::NameTable names) {
        auto factory = std::make_shared<ProductFactoryBase>(std::move(names));
        Repository::GetNameToProductFactoryMap()[key] = factory;
        return factory;
    }
    static std::string RealName(const std::string& name) {
        try {
            return Repository::GetRealName(name);
        } catch (const Exception& exception) {
            return exception.what();
        }
    }
};

TEST_F(Factory, IsFoundUnderItsKeyAlone) {
    EXPECT_EQ(Repository::GetFactory("Model"), nullptr);
    const auto model = Enter("Model", {{"Alias", "Model"}});
    EXPECT_EQ(Repository::GetFactory("Model"), model.get());
    EXPECT_EQ(Repository::GetFactory("model"), nullptr);
    EXPECT_EQ(Repository::GetFactory("Alias"), nullptr);
}

TEST_F(Factory, NamesComeFromTheFirstTableThatHasOne) {
    EXPECT_EQ(RealName("Old"), "'Old' is not a registered type in FactoryRepository.");
    Enter("B", {{"Old", "OfB"}, {"Empty", "Filled"}});
    Enter("A", {{"Old", "OfA"}, {"Empty", ""}});
    EXPECT_EQ(RealName("Old"), "OfA");
    EXPECT_EQ(RealName("Empty"), "Filled");
    EXPECT_EQ(RealName("A"), "'A' is not a registered type in FactoryRepository.");
    EXPECT_EQ(RealName("{1}"), "'{1}' is not a registered type in FactoryRepository.");
}

} // namespace
