// Exports kept only so that older host modules that link against them still load.
#pragma once

#define NK_EXPORT __declspec(dllexport)

// The three counters count nothing: each ignores its argument and returns 0.
NK_EXPORT int IncreaseGlobalAccount(int);
NK_EXPORT int DecreaseGlobalAccount(int);
NK_EXPORT int CheckGlobalAccount(int);

// Plain data with no behaviour here; only its copy assignment is exported.
class EnableAcisMultiThreadHelper {
public:
    NK_EXPORT EnableAcisMultiThreadHelper& operator=(const EnableAcisMultiThreadHelper& other);

private:
    int enabled_ = 0;
    int threads_ = 0;
};
