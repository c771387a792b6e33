// Inputs of frames that stay in memory, decoded and in the working space, so that a scene whose
// values change is rendered again without a look into its files.
//
// Each has a key that says all that its pixels depend on, the file's time of change among them. Up
// to a number of bytes the inputs used last are kept; who holds one keeps it longer. One thread.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zelk/color/color_space.h"
#include "zelk/inputs/st_map.h"
#include "zelk/render/module_road.h"

namespace zelk {

/// One picture as it was read.
struct ReadInput {
    World picture;
    PictureTraits traits;
    PixelMargins overscan;  ///< of a plate, where it is kept
    ModuleRender ask;       ///< of a layer on the module road
    std::vector<std::string> warnings;
    /// From and to, of a picture whose colours are converted; nothing: as they were read.
    std::optional<std::pair<ColorSpace, ColorSpace>> conversion;
    std::shared_ptr<PictureBuffer const> source;  ///< held, so that no other one has its address
};

inline std::uint64_t worldBytes(World const& world) {
    return std::uint64_t(world.rowBytes()) * std::uint64_t(world.height());
}

class KeptInputs {
public:
    explicit KeptInputs(std::uint64_t mostBytes) : m_mostBytes(mostBytes) {}

    /// What is kept by that key, of the type that it was kept as; null for none.
    template <class Input>
    std::shared_ptr<Input> find(std::string const& key) {
        return std::static_pointer_cast<Input>(findAny(key));
    }
    /// The picture of that key, by `read` where it is not kept.
    template <class Read>
    std::shared_ptr<ReadInput> readOnce(std::string const& key, Read const& read) {
        if (auto kept = find<ReadInput>(key)) return kept;
        auto const input = std::make_shared<ReadInput>(read());
        keep(key, input, worldBytes(input->picture));
        return input;
    }
    void keep(std::string const& key, std::shared_ptr<void> input, std::uint64_t bytes);
    void drop(std::string const& key);
    void clear() { m_inputs.clear(), m_bytes = 0; }
    std::uint64_t bytes() const { return m_bytes; }

private:
    struct Kept {
        std::string key;
        std::shared_ptr<void> input;
        std::uint64_t bytes;
    };

    std::shared_ptr<void> findAny(std::string const& key);
    std::list<Kept>::iterator at(std::string const& key);

    std::uint64_t m_mostBytes, m_bytes = 0;
    std::list<Kept> m_inputs;  ///< used last first
};

/// A picture's name and, of one in a file, when it was changed; "black" for none.
std::string inputKey(std::optional<InputPicture> const& file);

}  // namespace zelk
