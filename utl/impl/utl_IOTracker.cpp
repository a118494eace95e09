#include "utl/utl_IOTracker.h"

utl_IOTracker::~utl_IOTracker() = default;

utl_IOTracker_Container::utl_IOTracker_Container() = default;

utl_IOTracker_Container::~utl_IOTracker_Container() = default;

template class thr_GlobalSingleton<utl_IOTracker_Container>;
