# Sourced by check.sh for `./dev check --long`: tests/robustness for minutes instead of seconds. The
# counts of each run are printed with its gate.

robustness() {
    build dev && build/dev/tests/robustness/robustness "$@"
}

gate_long_steps() { robustness steps 1; }
gate_long_storm() { robustness storm 300; }
gate_long_sem_rw() { robustness lost_sem_rw 20; }
gate_long_sem_update() { robustness lost_sem_update 10; }
gate_long_stopping() { robustness stopping 1000; }

long_gates() {
    local run
    for run in steps storm sem_rw sem_update stopping; do
        gate "long_$run" "Processes that die, stop or fork have broken a promise." \
            '^(steps|storm|lost_|stopping).*[0-9]'
    done
}
