// ColorActs: what the window says of a scene's colour configuration.
#pragma once

#include "apps/viewer/window_services.h"

namespace zelk {

class ColorActs {
public:
    explicit ColorActs(WindowServices& services);

private:
    Document& document() const { return *m_services.document; }
    void tellFault();
    void chooseConfig();

    WindowServices& m_services;
};

}  // namespace zelk
