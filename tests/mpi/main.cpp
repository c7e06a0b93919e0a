// The MPI tests' entry: every rank runs every test (each prints its own
// report), and the program fails when a test failed on any rank.
#include <mpi.h>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
  MPI_Init(&argc, &argv);
  ::testing::InitGoogleTest(&argc, argv);
  int failed = RUN_ALL_TESTS() != 0, any = 0;
  MPI_Allreduce(&failed, &any, 1, MPI_INT, MPI_MAX, MPI_COMM_WORLD);
  MPI_Finalize();
  return any;
}
