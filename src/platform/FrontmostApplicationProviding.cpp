#include "FrontmostApplicationProviding.h"

FrontmostApplicationProviding::~FrontmostApplicationProviding() = default;
