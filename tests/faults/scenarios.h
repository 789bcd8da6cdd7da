/* What a program does in the midst of a fault. Each runs in a process of its own that ends with 0 if all
 * calls were answered as ever. */
#ifndef FAULTS_SCENARIOS_H
#define FAULTS_SCENARIOS_H

constexpr int commits_of_a_round = 50;
constexpr int rounds_of_a_thread = 4;
constexpr int threads_of_a_crowd = 8;

/* Runs a scenario by name on the edition whose library is at `path`; 2: there is no such scenario. */
int run_scenario(const char *name, const char *path);

#endif
