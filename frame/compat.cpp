#include "frame/compat.h"

int IncreaseGlobalAccount(int) { return 0; }
int DecreaseGlobalAccount(int) { return 0; }
int CheckGlobalAccount(int) { return 0; }

EnableAcisMultiThreadHelper& EnableAcisMultiThreadHelper::operator=(const EnableAcisMultiThreadHelper& other)
{
    enabled_ = other.enabled_;
    threads_ = other.threads_;
    return *this;
}
