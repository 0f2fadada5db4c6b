#pragma once

// The two functions of GNU's OpenMP library that are used. They are declared here because the
// header omp.h is the compiler's, and clang's belongs to another library.

extern "C" {
int omp_get_max_threads();
void omp_set_num_threads(int threads);
}
