// The record behind a critical section: a recursive mutex.
#pragma once

#include <pthread.h>

using CriticalSection = pthread_mutex_t;
