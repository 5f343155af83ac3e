#include <TALVOkrstream/FactoryRepository.h>
#include <TALVOutl/Exception.h>

#include <iostream>
#include <memory>
#include <set>
#include <sstream>
#include <string>

// What a drawing is made of.
class Shape {
public:
    Shape() = default;
    virtual ~Shape() = default;
    Shape(const Shape&) = delete;
    Shape& operator=(const Shape&) = delete;
    virtual std::string Describe() const = 0;
};

class Circle : public Shape {
    std::string Describe() const override { return "a circle"; }
};

class Square : public Shape {
    std::string Describe() const override { return "a square"; }
};

class ShapeFactory : public OBJCREAT_Details::ProductFactoryBase {
public:
    using ProductFactoryBase::ProductFactoryBase;
    virtual std::unique_ptr<Shape> Make() const = 0;
};

template <typename Product>
class FactoryOf : public ShapeFactory {
public:
    using ShapeFactory::ShapeFactory;
    std::unique_ptr<Shape> Make() const override { return std::make_unique<Product>(); }
};

// All factories of this program make shapes.
class Shapes : public OBJCREAT_Details::FactoryRepositoryBase {
public:
    // `names` are all names by which files call the type, older ones too.
    template <typename Product>
    static void Register(const std::string& type, const std::set<std::string>& names) {
        OBJCREAT_Details::ProductFactoryBase::NameTable table;
        for (const std::string& name : names) {
            table[name] = type;
        }
        GetNameToProductFactoryMap()[type] = std::make_shared<FactoryOf<Product>>(table);
    }

    // Throws an Exception for a name that no type has.
    static std::unique_ptr<Shape> Make(const std::string& name) {
        return static_cast<const ShapeFactory*>(GetFactory(GetRealName(name)))->Make();
    }
};

int main() {
    Shapes::Register<Circle>("Circle", {"Circle", "Disc"});
    Shapes::Register<Square>("Square", {"Square"});

    std::istringstream drawing("Square Disc Circle Cube");
    for (std::string name; drawing >> name;) {
        try {
            const auto shape = Shapes::Make(name);
            std::cout << name << " is " << shape->Describe() << '\n';
        } catch (const Exception& error) {
            std::cout << error.what() << '\n';
        }
    }
    return 0;
}
