// Binding files that can be made unreadable.
#pragma once

#include "BindingReloading.h"

class FakeBindingStore : public BindingReloading {
public:
    void reload() override { ++reloads; }
    bool hasAgentWorkspaceBindingLoadError() const override { return unreadable; }

    bool unreadable = false;
    int reloads = 0;
};
