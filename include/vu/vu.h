// Everything that libvu offers.

#ifndef VU_VU_H_
#define VU_VU_H_

#include "vu/config.h"
#include "vu/crypto.h"
#include "vu/domain.h"
#include "vu/foundation.h"
#include "vu/hash.h"
#include "vu/host.h"
#include "vu/locks.h"
#include "vu/pattern.h"
#include "vu/record.h"
#include "vu/version.h"

#endif  // VU_VU_H_
