// The OpenMP runtime's thread number, see ompc.h.
#include "Transform/Common/Transform_Core_Render/ompc.h"

#include <omp.h>

void ompc_set_num_threads(int count) { omp_set_num_threads(count > 0 ? count : 1); }

OmpcThreadScope::OmpcThreadScope() : m_former(omp_get_max_threads()) {}
OmpcThreadScope::~OmpcThreadScope() { omp_set_num_threads(m_former); }
