// SPDX-License-Identifier: Apache-2.0
//
// Stands in for the header of the same name in Android's libbinder_random_parcel; there only for
// the fuzz targets. Differs in what a parcel is made of: the binders in it are the fuzzed object
// itself and objects of two further classes, all of this process, and its descriptors are /dev/null
// and empty files in memory. Calls come with this process's own identity, and what a reply holds is
// not used again.
#pragma once

#include <android/binder_ibinder.h>
#include <fuzzer/FuzzedDataProvider.h>

namespace android {

// Calls the object, which is one of this process, with random codes, parcels and flags, in the
// calling thread and one call after the other, until the data is used up. Codes that every object
// answers (ping, dump, shell command and so on) are among them.
void fuzzService(AIBinder* binder, FuzzedDataProvider&& provider);

}  // namespace android
