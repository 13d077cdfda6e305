/* The life of the shared region: create, attach, clear, count in, heartbeat, count out, remove.
 *
 * Every manager may die between any two steps. A step is what others can see of a system call, or
 * of stores that nobody can tell apart. When nothing moves any more, a last manager attaches and
 * detaches undisturbed.
 *
 * README.md tells what is left out. A mutant is a macro that takes one rule away; `check` has them.
 */

#if defined(CLOSE_DOES_NOT_UNLOCK) || defined(CHILD_KEEPS_DESCRIPTOR)
#define LOCKS_STICK
#endif

#ifndef MANAGERS
#define MANAGERS 3
#endif
#ifndef STARTS /* of managers; one that has left or died may come again */
#define STARTS 3
#endif
#ifndef DEATHS
#define DEATHS 2
#endif
#ifndef AGEINGS /* how often the heartbeat grows too old while everybody lives, but is slow */
#define AGEINGS 2
#endif
#ifndef TIMEOUTS
#define TIMEOUTS 1
#endif

#define LAST 3
#define NEIGHBOUR 4 /* knows nothing of the locks */
#define SLOTS 5
#define INODES 4
#define NAMED 0 /* the inode with the name, if there is one */
#define NO_INODE 7

#define SHARED 1
#define EXCLUSIVE 2

typedef Inode {
    bit sized;   /* as long as a region */
    bit version; /* stored: says that the rest is in place */
    bit stale;   /* the heartbeat is too old */
    byte count;  /* opencount */
    byte sem;    /* value of sem_rw */

    /* What only the properties look at. */
    bit whole;     /* the rest is in place */
    bit leftovers; /* contents from before the heartbeat grew too old */
    bit destroyed; /* the semaphores are */
    byte holders;  /* living processes that believe they hold sem_rw */
    bit crowded;   /* at times more than one, or a clear, since there was none */
    bit robbed;    /* a clear gave sem_rw away under its living holder */
#ifdef LOCKS_STICK
    bit gate_stuck; /* kept by a forked child's copy of the descriptor */
    bit presence_stuck;
#endif
};

Inode region[INODES];
bit name_exists;

byte file[SLOTS] = NO_INODE; /* the one file that each process has open, and its locks on it */
bit gate[SLOTS];
byte presence[SLOTS];

bit attached[SLOTS]; /* from hand-over to the start of detaching */

byte starts;
byte deaths;
byte ageings;
byte timeouts;

bit idle[SLOTS] = 1; /* idle managers are alike, so the first of them comes next */
#define NOBODY_BEFORE ((me < 1 || !idle[0]) && (me < 2 || !idle[1]))

bit untidy; /* somebody gave up, left without counting out, or was robbed */

#define HERE region[file[me]]
#define HAS_LINK (name_exists && file[me] == NAMED)

#define OPEN(i) (file[0] == i || file[1] == i || file[2] == i || file[3] == i || file[4] == i)

#define GATE_OF(p) (p != me && gate[p] && file[p] == file[me])
#define GATE_TAKEN (GATE_OF(0) || GATE_OF(1) || GATE_OF(2) || GATE_OF(3) || GATE_STUCK)

#define PRESENCE_OF(p) (p != me && presence[p] != 0 && file[p] == file[me])
#define OTHERS_PRESENT (PRESENCE_OF(0) || PRESENCE_OF(1) || PRESENCE_OF(2) || PRESENCE_OF(3) || \
                        PRESENCE_STUCK)

#ifdef LAST_BY_COUNT_ALONE
#define IS_LAST (HERE.count == 0 && HAS_LINK)
#elif defined(LAST_BY_PRESENCE_ALONE)
#define IS_LAST (!OTHERS_PRESENT && HAS_LINK)
#elif defined(NO_LINK_CHECK_LEAVING)
#define IS_LAST (HERE.count == 0 && !OTHERS_PRESENT)
#else
#define IS_LAST (HERE.count == 0 && !OTHERS_PRESENT && HAS_LINK)
#endif

#define CLAIM_OF(p) (PRESENCE_OF(p) && presence[p] == EXCLUSIVE)
#define CLAIMED (CLAIM_OF(0) || CLAIM_OF(1) || CLAIM_OF(2) || CLAIM_OF(3))

#define ELSEWHERE(p) (attached[p] && file[p] != file[me])
#define ATTACHED_TO(p, i) (attached[p] && file[p] == i)

#define INSIDE(p, i) (gate[p] && file[p] == i)
#define NOBODY_INSIDE(i) (!INSIDE(0, i) && !INSIDE(1, i) && !INSIDE(2, i) && !INSIDE(3, i))
#ifdef WAIT_INSIDE_GATE
#define NOBODY_MENDING(i) true
#else
#define NOBODY_MENDING(i) NOBODY_INSIDE(i)
#endif
/* Nobody alive will post it, but for somebody inside the gate who is at mending it. */
#define SEM_LOST(i) (region[i].version && region[i].sem == 0 && region[i].holders == 0)

#ifdef LOCKS_STICK
#define GATE_STUCK HERE.gate_stuck
#define PRESENCE_STUCK HERE.presence_stuck
#else
#define GATE_STUCK false
#define PRESENCE_STUCK false
#endif

/* Ends an `if` that is one step: the process may die instead. */
#define OR_DIE :: atomic { me < LAST && deaths < DEATHS -> deaths++; die(); goto begin } fi

#ifdef WAIT_INSIDE_GATE
#define LEAVE_GATE was_stale = 0
#else
#define LEAVE_GATE gate[me] = 0; was_stale = 0
#endif

#define STEP(effect) if :: d_step { effect } OR_DIE

#define MAY_TIME_OUT (me < LAST && timeouts < TIMEOUTS)
#define TAKE_GATE(late) \
    if \
    :: d_step { !GATE_TAKEN -> gate[me] = 1; was_stale = HERE.stale } \
    :: atomic { GATE_TAKEN && MAY_TIME_OUT -> timeouts++; untidy = 1; goto late } \
    OR_DIE

inline wipe(inode) {
    region[inode].sized = 0;
    region[inode].version = 0;
    region[inode].stale = 0;
    region[inode].count = 0;
    region[inode].sem = 0;
    region[inode].whole = 0;
    region[inode].leftovers = 0;
    region[inode].destroyed = 0;
    region[inode].holders = 0;
    region[inode].crowded = 0;
    region[inode].robbed = 0;
#ifdef LOCKS_STICK
    region[inode].gate_stuck = 0;
    region[inode].presence_stuck = 0;
#endif
}

inline move_file(p, i) {
    if
    :: file[p] == NAMED -> file[p] = i
    :: else
    fi
}

/* The inode makes room for the next one of that name. */
inline move_inode(i) {
    region[i].sized = region[NAMED].sized;
    region[i].version = region[NAMED].version;
    region[i].stale = region[NAMED].stale;
    region[i].count = region[NAMED].count;
    region[i].sem = region[NAMED].sem;
    region[i].whole = region[NAMED].whole;
    region[i].leftovers = region[NAMED].leftovers;
    region[i].destroyed = region[NAMED].destroyed;
    region[i].holders = region[NAMED].holders;
    region[i].crowded = region[NAMED].crowded;
    region[i].robbed = region[NAMED].robbed;
#ifdef LOCKS_STICK
    region[i].gate_stuck = region[NAMED].gate_stuck;
    region[i].presence_stuck = region[NAMED].presence_stuck;
#endif
    wipe(NAMED);
    move_file(0, i);
    move_file(1, i);
    move_file(2, i);
    move_file(3, i);
    move_file(4, i)
}

inline unlink_name() {
    name_exists = 0;
    if
    :: !OPEN(1) -> room = 1
    :: OPEN(1) && !OPEN(2) -> room = 2
    :: OPEN(1) && OPEN(2) -> assert(!OPEN(3)); room = 3
    fi;
    move_inode(room);
    room = 0
}

inline remove_name() {
#ifndef WITH_NEIGHBOUR
    assert(HAS_LINK);
    assert(!ATTACHED_TO(0, NAMED) && !ATTACHED_TO(1, NAMED) && !ATTACHED_TO(2, NAMED) &&
           !ATTACHED_TO(3, NAMED));
#endif
    unlink_name()
}

/* The locals are reset as soon as they mean nothing any more, so that fewer states differ. */
inline forget() {
    was_stale = 0;
    looked = 0;
    counted = 0;
    count_again = 0;
    nameless = 0
}

inline let_go() {
    gate[me] = 0;
    presence[me] = 0;
    file[me] = NO_INODE;
    forget()
}

inline drop_file() {
    room = file[me];
    let_go();
    if
    :: room != NO_INODE && room != NAMED && !OPEN(room) -> wipe(room)
    :: else
    fi;
    room = 0
}

inline become_holder() {
    assert(!HERE.destroyed);
    HERE.sem--;
    HERE.holders++;
    holding = 1;
    if
    :: HERE.holders > 1 -> assert(HERE.robbed); HERE.crowded = 1
    :: else
    fi
}

inline be_holder_no_more() {
    HERE.holders--;
    holding = 0;
    if
    :: HERE.holders == 0 -> HERE.crowded = 0
    :: else
    fi
}

inline post() {
    HERE.sem++;
    be_holder_no_more()
}

/* After a count-in or a heartbeat that nobody disturbed, all is well again. */
inline post_after_surplus() {
    if
    :: !HERE.crowded -> assert(HERE.sem == 0); HERE.robbed = 0
    :: else
    fi;
    post()
}

/* A registry without a sem_rw must go on to look older, up to its clear. */
inline refresh_stamp() {
    assert(!SEM_LOST(file[me]));
    HERE.stale = 0
}

inline store_stamp_as_holder() {
    refresh_stamp();
    HERE.leftovers = 0
}

/* Whoever clears the registry, or frees sem_rw, believes that there is no holder. */
inline rob() {
    if
    :: HERE.holders > 0 -> HERE.robbed = 1; HERE.crowded = 1; untidy = 1
    :: else
    fi
}

inline rob_by_posting() {
    if
    :: HERE.sem + HERE.holders > 0 ->
        assert(untidy); /* somebody who was robbed has posted meanwhile */
        HERE.robbed = 1;
        HERE.crowded = HERE.holders > 0
    :: else
    fi
}

inline count_in() {
    assert(!nameless);
    HERE.count++;
    store_stamp_as_holder()
}

inline hand_over_now() {
    gate[me] = 0;
    attached[me] = 1;
    forget();
    assert(HERE.sized && HERE.version && HERE.whole);
#ifndef WITH_NEIGHBOUR
    assert(HAS_LINK);
    assert(!ELSEWHERE(0) && !ELSEWHERE(1) && !ELSEWHERE(2) && !ELSEWHERE(3))
#endif
}

/* The kernel's part. */
inline die() {
#ifdef CHILD_KEEPS_DESCRIPTOR
    if
    :: file[me] != NO_INODE ->
        HERE.gate_stuck = HERE.gate_stuck || gate[me];
        HERE.presence_stuck = HERE.presence_stuck || presence[me] != 0
    :: true
    fi;
#endif
    d_step {
        if
        :: holding -> be_holder_no_more()
        :: else
        fi;
        if
        :: presence[me] == EXCLUSIVE -> HERE.destroyed = 0 /* README.md says why */
        :: else
        fi;
        attached[me] = 0;
        let_go();
        idle[me] = 1
    }
}

proctype manager(byte me) {
    byte room;       /* an inode, within one step */
    bit holding;     /* believes that it holds sem_rw */
    bit was_stale;   /* the region, at some time since this manager has had the gate */
    bit looked;      /* once at a file that is no region yet */
    bit counted;     /* has counted in; what remains is the wrapper's turn */
    bit count_again; /* a clear of its own has undone that */
    bit nameless;    /* the region was, when sem_rw was taken */

    if
    :: me == LAST ->
        timeout;
        /* Everybody has come to an end without help. */
        assert(file[0] == NO_INODE && file[1] == NO_INODE && file[2] == NO_INODE);
#ifndef WITH_NEIGHBOUR
        assert(!name_exists || deaths > 0 || untidy);
#endif
        goto probe
    :: else
    fi;

begin:
    if
    :: d_step { me < LAST && starts < STARTS && NOBODY_BEFORE -> starts++; idle[me] = 0 }
    :: atomic { me == LAST || starts == STARTS -> goto finished }
    fi;

probe:
    if
    :: !name_exists
    :: d_step { name_exists -> file[me] = NAMED } goto attach
    fi;

    /* ---- create ---- */
    d_step {
        name_exists = 1;
        file[me] = NAMED
    };
#ifndef NO_GATE_ON_CREATE
    TAKE_GATE(give_up);
#endif
    if
    :: atomic { !HAS_LINK || HERE.sized -> goto start_over }
    :: HAS_LINK && !HERE.sized
    OR_DIE;

build:
    if
    :: atomic { CLAIMED -> goto start_over }
    :: d_step { !CLAIMED -> presence[me] = SHARED }
    OR_DIE;
    STEP(HERE.sized = 1);
    STEP(HERE.count = 0; HERE.sem = 0; HERE.version = 0; HERE.whole = 0);
#ifdef VERSION_FIRST
    STEP(HERE.version = 1);
#endif
    STEP(HERE.count = 1; HERE.stale = 0; HERE.sem++; HERE.whole = 1);
#ifndef VERSION_FIRST
    STEP(HERE.version = 1);
#endif
    if
    :: atomic { !HAS_LINK -> goto start_over }
    :: d_step { HAS_LINK -> hand_over_now() } goto serve
    OR_DIE;

    /* ---- attach ---- */
attach:
    TAKE_GATE(give_up);
    if
#ifndef NO_LINK_CHECK_INSIDE
    :: atomic { !HAS_LINK -> goto start_over }
#define STILL_THERE HAS_LINK
#else
#define STILL_THERE true
#endif
    :: atomic { STILL_THERE && !HERE.version && !looked -> looked = 1; gate[me] = 0; goto attach }
    :: atomic { STILL_THERE && !HERE.sized && looked -> goto build }
    :: atomic { STILL_THERE && HERE.sized && !HERE.version && looked -> goto wrong_version }
    :: atomic { STILL_THERE && HERE.version && CLAIMED -> goto start_over }
    :: d_step { STILL_THERE && HERE.version && !CLAIMED -> presence[me] = SHARED }
    OR_DIE;

test:
    if
    :: d_step { HERE.stale -> was_stale = 1; assert(HERE.sized && HERE.whole) }
    :: atomic {
        !HERE.stale ->
        assert(HERE.sized && HERE.whole);
        /* What looks fresh was refreshed by the living, or cleared to the end. */
        assert(!HERE.leftovers);
#ifdef STAMP_AT_TEST
        refresh_stamp();
#endif
        LEAVE_GATE;
        goto wait
    }
    OR_DIE;

clear:
#ifdef STAMP_FIRST_IN_CLEAR
    STEP(HERE.stale = 0);
#endif
    STEP(
        assert(was_stale);
#ifndef CLEAR_KEEPS_POSTS
        HERE.sem = 0;
#endif
        rob();
        HERE.count = 0;
        HERE.leftovers = 0;
        count_again = counted);
    STEP(HERE.stale = 0);
    STEP(rob_by_posting(); HERE.sem++; LEAVE_GATE);

    /* ---- count in, then one turn of the wrapper ---- */
wait:
    if
    :: d_step { HERE.sem > 0 -> become_holder(); nameless = !HAS_LINK }
#ifndef PLAIN_WAIT_IN
    :: atomic { HERE.sem == 0 && HERE.stale -> goto clear_while_waiting }
#endif
    :: atomic { HERE.sem == 0 && MAY_TIME_OUT -> timeouts++; untidy = 1;
        if
        :: counted -> goto hand_over
        :: else -> goto give_up
        fi
    }
    OR_DIE;
    if
    :: d_step {
        counted ->
        if
        :: count_again ->
#ifndef NO_COUNT_AGAIN
            HERE.count++
#else
            skip
#endif
        :: else
        fi;
        post();
        hand_over_now()
    } goto serve
#ifndef NO_LINK_CHECK_AS_HOLDER
    :: d_step { !counted && !HAS_LINK -> post() } goto start_over
    :: d_step { !counted && HAS_LINK -> count_in() }
#else
    :: d_step { !counted -> count_in() }
#endif
    OR_DIE;
    STEP(
#ifndef NO_SURPLUS_REMOVAL_COUNTING_IN
        HERE.sem = 0;
#endif
        post_after_surplus();
        counted = 1);
    goto wait;

clear_while_waiting:
    if
    :: counted -> TAKE_GATE(hand_over)
    :: else -> TAKE_GATE(give_up)
    fi;
#ifdef NO_SECOND_TEST
    goto clear;
#else
    goto test;
#endif

hand_over:
    STEP(hand_over_now());

    /* ---- attached ---- */
serve:
    if
    :: me < LAST
    :: d_step { true -> attached[me] = 0 } goto detach
#ifdef CHILD_DETACHES
    :: d_step { HERE.count > 0 -> HERE.count--; presence[me] = 0 } goto serve
#endif
    OR_DIE;
serve_waiting:
    if
    :: d_step { HERE.sem > 0 -> become_holder() }
#ifndef PLAIN_WAIT_SERVING
    :: atomic { HERE.sem == 0 && HERE.stale -> goto free_while_waiting }
#endif
    OR_DIE;
    STEP(
        store_stamp_as_holder();
#ifndef NO_SURPLUS_REMOVAL_IN_HEARTBEAT
        HERE.sem = 0;
#endif
        post_after_surplus());
    goto serve;

free_while_waiting:
#ifndef FREE_OUTSIDE_GATE
    if
    :: d_step { !GATE_TAKEN -> gate[me] = 1; was_stale = HERE.stale }
    OR_DIE;
#else
    STEP(was_stale = 1);
#endif
#ifndef NO_SECOND_TEST_SERVING
    if
    :: d_step { HERE.stale -> was_stale = 1 }
    :: d_step { !HERE.stale -> LEAVE_GATE } goto serve_waiting
    OR_DIE;
#endif
    STEP(assert(was_stale); HERE.sem = 0; rob());
    STEP(HERE.stale = 0; HERE.leftovers = 0);
    STEP(rob_by_posting(); HERE.sem++; LEAVE_GATE);
    goto serve_waiting;

    /* ---- detach ---- */
detach:
    if
    :: d_step { HERE.sem > 0 -> become_holder() }
#ifndef PLAIN_WAIT_OUT
    :: d_step { HERE.sem == 0 && HERE.stale -> untidy = 1 } goto decide
#endif
    :: atomic { HERE.sem == 0 && MAY_TIME_OUT -> timeouts++; untidy = 1; goto decide }
    OR_DIE;
    STEP(
        if
        :: HERE.count > 0 -> HERE.count--
        :: else
        fi;
        post());

decide:
#ifndef NO_GATE_ON_LEAVING
    TAKE_GATE(leave);
#endif
    if
    :: atomic { !IS_LAST -> goto leave }
    :: d_step {
        IS_LAST ->
#ifdef WITH_NEIGHBOUR
        assert(HAS_LINK);
        assert(!ATTACHED_TO(NEIGHBOUR, file[me]));
#endif
        presence[me] = EXCLUSIVE;
        HERE.destroyed = 1
    }
    OR_DIE;
#ifdef UNLOCK_BEFORE_UNLINK
    STEP(gate[me] = 0; presence[me] = 0);
#endif
    STEP(
        if
        :: name_exists -> remove_name()
        :: else
        fi);

leave:
#ifdef GATE_BEFORE_PRESENCE
    STEP(gate[me] = 0);
#endif
#ifdef CLOSE_DOES_NOT_UNLOCK
    if
    :: atomic { HERE.gate_stuck = HERE.gate_stuck || gate[me]; HERE.presence_stuck = 1 }
    :: true
    fi;
#endif
close_file:
    if
    :: d_step { true -> drop_file(); idle[me] = 1 } goto begin
    OR_DIE;

    /* ---- the ends of a try that does not attach ---- */
wrong_version:
    STEP(remove_name());

start_over:
    if
    :: d_step { true -> drop_file() } goto probe
    OR_DIE;

give_up:
#ifdef UNLINK_ON_TIMEOUT
    if
    :: d_step { HAS_LINK -> remove_name() }
    :: !HAS_LINK
    fi;
#endif
    goto close_file;

finished:
    skip
}

/* Whoever is inside may have cleared the contents already. */
#define GROW_OLD(i) \
    region[i].stale = 1; \
    region[i].leftovers = region[i].leftovers || NOBODY_INSIDE(i)

#define OR_AGE_IF_LOST(i) \
    :: d_step { !region[i].stale && SEM_LOST(i) && NOBODY_MENDING(i) -> GROW_OLD(i) }

/* The heartbeat grows too old: while everybody alive is slow, and whenever nobody can refresh it. */
active proctype passing_time() {
end:
    do
    :: d_step {
        name_exists && region[NAMED].version && !region[NAMED].stale && ageings < AGEINGS ->
        ageings++;
        GROW_OLD(NAMED)
    }
    :: d_step { ageings < AGEINGS -> ageings = AGEINGS }
    OR_AGE_IF_LOST(0)
    OR_AGE_IF_LOST(1)
    OR_AGE_IF_LOST(2)
    OR_AGE_IF_LOST(3)
    od
}

#ifdef WITH_NEIGHBOUR
proctype neighbour() {
    byte me = NEIGHBOUR;
    byte room;
end:
    d_step { name_exists && region[NAMED].version -> file[me] = NAMED };
    d_step { HERE.sem > 0 -> HERE.sem--; HERE.holders++ };
    d_step { HERE.count++; HERE.sem++; HERE.holders--; attached[me] = 1 };
    d_step { HERE.sem > 0 -> HERE.sem--; HERE.holders++; attached[me] = 0 };
    d_step { HERE.count--; HERE.sem++; HERE.holders-- };
    if
    :: HERE.count == 0 ->
        d_step {
            if
            :: name_exists -> unlink_name()
            :: else
            fi
        }
    :: else
    fi;
    d_step {
        if
        :: file[me] != NAMED ->
            room = file[me];
            file[me] = NO_INODE;
            if
            :: !OPEN(room) -> wipe(room)
            :: else
            fi;
            room = 0
        :: else -> file[me] = NO_INODE
        fi
    }
}
#endif

init {
    atomic {
#ifdef WITH_NEIGHBOUR
        run neighbour();
#endif
        byte i = 0;
        do
        :: i < MANAGERS -> run manager(i); i++
        :: else -> break
        od;
        run manager(LAST)
    }
}
