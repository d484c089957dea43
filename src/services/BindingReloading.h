// The part of the binding files that a reload needs: read them again and say whether that failed.
#pragma once

class BindingReloading {
public:
    virtual ~BindingReloading() = default;
    virtual void reload() = 0;
    virtual bool hasAgentWorkspaceBindingLoadError() const = 0;
};
