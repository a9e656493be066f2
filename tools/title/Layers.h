// Ownership helpers over the library's layer handles and accesses.
#ifndef FLOWER_TITLE_LAYERS_H
#define FLOWER_TITLE_LAYERS_H

#include <cstddef>
#include <string>
#include <utility>

#include "ToolError.h"
#include "inlinepelops.h"
#include "petal.h"

namespace title {

// One reference on a layer, released on destruction.
class Layer {
  public:
    Layer() = default;
    explicit Layer(Marrow::StubLayer* l) : layer(l) {}
    ~Layer() { DeleteLayer(layer); }
    Layer(Layer&& other) noexcept : layer(std::exchange(other.layer, nullptr)) {}
    Layer& operator=(Layer&& other) noexcept
    {
        std::swap(layer, other.layer);
        return *this;
    }
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;

    Marrow::StubLayer* get() const { return layer; }
    explicit operator bool() const { return layer != nullptr; }

  private:
    Marrow::StubLayer* layer = nullptr;
};

// A zeroed layer, or ToolError naming what it was for.
inline Layer NewLayer(int width, int height, const char* purpose)
{
    Layer l(CreateLayer(width, height));
    if (!l)
        throw ToolError(std::string("out of memory for the ") + purpose + " (" +
                        std::to_string(width) + "x" + std::to_string(height) + ")");
    return l;
}

// The whole of one layer, open for the lifetime of this object.
class Pixels {
  public:
    explicit Pixels(Marrow::StubLayer* layer)
    {
        open = BeginAccessLayer(&access, layer);
        if (!open || access.region.width < 1 || access.region.height < 1)
            throw ToolError("cannot access a layer's pixels");
    }
    ~Pixels()
    {
        if (open)
            EndAccessLayer(&access);
    }
    Pixels(const Pixels&) = delete;
    Pixels& operator=(const Pixels&) = delete;

    int Width() const { return access.region.width; }
    int Height() const { return access.region.height; }
    int Pitch() const { return access.rowBytes; }
    char* At(int x, int y) const
    {
        return reinterpret_cast<char*>(access.pixels) + std::ptrdiff_t(y) * access.rowBytes +
               std::ptrdiff_t(x) * 4;
    }
    Pel* Row(int y) const { return reinterpret_cast<Pel*>(At(0, y)); }

  private:
    LayerAccess access{};
    bool open = false;
};

} // namespace title

#endif
