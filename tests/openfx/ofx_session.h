// One instance of the plug-in in a host of a test's own, and what has to be true when it goes.
#pragma once

#include <gtest/gtest.h>

#include "tests/openfx/ofx_picture.h"

namespace zelk_ofx {

// Off the origin: nothing may take a picture's corner for 0,0.
constexpr OfxRectI kFrame = {5, -3, 53, 33};
constexpr Project kProject = {.size = {48, 36}, .offset = {5, -3}};

inline void expectClean(Host const& host) {
    EXPECT_EQ(host.violations, std::vector<std::string>());
    EXPECT_EQ(host.misses, std::set<std::string>());
    EXPECT_EQ(host.leaks, std::vector<std::string>());
}

// A host with one instance, described in a context; clean when it goes.
struct Session {
    explicit Session(HostChoice const& choice, std::map<std::string, ClipInput> const& inputs,
                     Project const& project = kProject,
                     char const* context = kOfxImageEffectContextFilter,
                     SavedParams const& setup = {})
        : host(choice, ZELK_OFX_BINARY) {
        EXPECT_EQ(host.prepare(context), kOfxStatOK);
        instance = host.create(context, inputs, project, setup);
        if (!instance) throw std::runtime_error("no instance");
    }
    ~Session() {
        instance.reset();
        host.unload();
        expectClean(host);
    }
    Instance* operator->() const { return instance.get(); }
    // The window's pixels; all others must stay as they were.
    std::vector<unsigned char> render(PictureBuffer& output, OfxRectI window,
                                      OfxPointD scale = {1, 1}) const {
        EXPECT_EQ(instance->render({.output = output.view(), .window = window, .scale = scale}),
                  kOfxStatOK);
        EXPECT_TRUE(output.untouchedBut(window));
        return output.bytes(window);
    }
    Host host;
    std::unique_ptr<Instance> instance;
};

}  // namespace zelk_ofx
