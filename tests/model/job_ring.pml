/* The job ring: a producer that publishes jobs of two tasks into a ring of two slots and waits for each, and workers
 * that claim, run, retire and sleep. Every step between two dots of the program is one atomic action here, so a worker
 * may be preempted between reading a slot and claiming from it for as long as the search likes.
 *
 * Promises held: each task of each job runs exactly once, WaitIdle returns only after its jobs' tasks have run, and
 * everybody gets home: a lost wake-up is an invalid end state.
 *
 * Variants, each of which must be caught:
 *   TICKET_FIRST             the ticket is published before the claim and completion words are reset
 *   SPLIT_CLAIM              the claim is an increment that does not carry the ticket
 *   UNFILLED_SLEEPS_ON_HEAD  a worker that met an unfilled slot sleeps on head instead of wake
 *   BUFFERED_COMPLETION      a finisher's store of `completed` may stay in its store buffer while it looks at others
 *   STORED_HEAD              head is moved by a plain store: somebody late moves it back
 *   RESET_BETWEEN            `completed` is reset after the ticket's publication
 *   RESET_LATE               `completed` is reset after both publications
 *   SEEN_LATE                a worker reads wake after head and tail: it may miss what was published between
 *   BARRIER_ANYWHERE         a barrier hides what is behind it, but is acted on wherever it stands
 * and, without a fault:
 *   RUN_AHEAD                the producer waits once, after its last job
 *   BARRIER                  the second job is a barrier
 */
#define SLOTS 2
#define TASKS 2
/* Five: a head that was moved back heals in shorter runs, as the next finisher moves it on past the same slots. A
 * producer that runs ahead has many more interleavings, and three jobs already take each slot through a second one. */
#ifndef JOBS
#ifdef RUN_AHEAD
#define JOBS 3
#else
#define JOBS 5
#endif
#endif
#ifndef WORKERS
#define WORKERS 2
#endif
#define NONE 15      /* the ticket of a slot that has held no job */
#define PENDING 7    /* `left` of a barrier that nobody has taken */

byte tail, head, wake;
bool over;

/* Slots. claimTicket and left are one word, written together, but for the variants. */
byte claimTicket[SLOTS], left[SLOTS], doneTasks[SLOTS], ticket[SLOTS];
bool completed[SLOTS];

byte ran[JOBS * TASKS];  /* how often each task has run */
bool barrierPassed;

#define SLOT(t) ((t) % SLOTS)
#ifdef BARRIER
#define IS_BARRIER(t) ((t) == 1)
#else
#define IS_BARRIER(t) false
#endif
#define FIRST_LEFT(t) (IS_BARRIER(t) -> PENDING : TASKS)

inline CheckRan(upTo) {
  d_step {
    byte i = 0;
    do
    :: i < (upTo) * TASKS -> assert(IS_BARRIER(i / TASKS) || ran[i] == 1); i++
    :: else -> break
    od
    i = 0
  }
}

inline WaitIdle(target) {
  do
  :: atomic { head >= target -> break }
  :: atomic { head < target -> seenHead = head }
     (head != seenHead)   /* asleep; the compare and the sleep are one step of the system's */
  od
  CheckRan(target)
}

proctype Producer() {
  byte t, seenHead;
  do
  :: tail < JOBS ->
     atomic { t = tail; tail++ }
     (t < head + SLOTS);   /* back-pressure: sleeps on head */
#ifdef TICKET_FIRST
     atomic { claimTicket[SLOT(t)] = t; ticket[SLOT(t)] = t }
     left[SLOT(t)] = FIRST_LEFT(t);
     doneTasks[SLOT(t)] = 0;
     completed[SLOT(t)] = false;
#else
     doneTasks[SLOT(t)] = 0;
#if !defined(RESET_BETWEEN) && !defined(RESET_LATE)
     completed[SLOT(t)] = false;
#endif
     ticket[SLOT(t)] = t;
#ifdef RESET_BETWEEN
     completed[SLOT(t)] = false;
#endif
     atomic { claimTicket[SLOT(t)] = t; left[SLOT(t)] = FIRST_LEFT(t) }
#ifdef RESET_LATE
     completed[SLOT(t)] = false;
#endif
#endif
     wake++;
#ifndef RUN_AHEAD
     WaitIdle(t + 1)
#endif
  :: else -> break
  od
#ifdef RUN_AHEAD
  WaitIdle(JOBS)
#endif
  over = true;
  wake++
}

inline Retire() {
  do
  :: r = head;
     if
     :: ticket[SLOT(r)] != r -> break
     :: else
     fi;
     if
     :: !completed[SLOT(r)] -> break
     :: else
     fi;
#ifdef STORED_HEAD
     head = r + 1
#else
     atomic {
       if
       :: head == r -> head++
       :: else
       fi
     }
#endif
  od
}

/* `completed` of slot s is set, then Retire runs. */
inline Complete(s) {
#ifdef BUFFERED_COMPLETION
  (buffer[me] == NONE);
  buffer[me] = s;        /* drained by StoreBuffers at any time, or by the locked step below */
  do
  :: r = head;
     if
     :: ticket[SLOT(r)] != r -> break
     :: else
     fi;
     if
     :: !(completed[SLOT(r)] || buffer[me] == SLOT(r)) -> break   /* a thread sees its own store */
     :: else
     fi;
     atomic {
       if
       :: buffer[me] != NONE -> completed[buffer[me]] = true; buffer[me] = NONE
       :: else
       fi;
       if
       :: head == r -> head++
       :: else
       fi
     }
  od
#else
  completed[s] = true;
  Retire()
#endif
}

#ifdef BUFFERED_COMPLETION
byte buffer[WORKERS] = NONE;
active proctype StoreBuffers() {
end:
  do
  :: d_step { buffer[0] != NONE -> completed[buffer[0]] = true; buffer[0] = NONE }
  :: d_step { buffer[1] != NONE -> completed[buffer[1]] = true; buffer[1] = NONE }
  od
}
#endif

proctype Worker(byte me) {
  byte seen, h, t, j, k, r;
pass:
#ifdef SEEN_LATE
  h = head;
  t = tail;
#endif
  seen = wake;
  if
  :: over -> goto leave
  :: else
  fi;
#ifndef SEEN_LATE
  h = head;
  t = tail;
#endif
  if
  :: h >= t -> goto sleepOnWake
  :: else -> j = h
  fi;
walk:
  if
  :: j == t -> goto sleepOnHead
  :: else
  fi;
#ifdef SPLIT_CLAIM
  /* Two steps: look at the slot, then take one without asking again whose it is. */
  if
  :: claimTicket[SLOT(j)] != j -> goto unfilled
  :: else
  fi;
  atomic {
    if
    :: left[SLOT(j)] == 0 -> j++; goto walk
    :: else -> k = TASKS - left[SLOT(j)]; left[SLOT(j)] = left[SLOT(j)] - 1
    fi
  }
#else
  atomic {
    if
    :: claimTicket[SLOT(j)] != j -> goto unfilled
    :: else -> k = left[SLOT(j)]
    fi
  }
  if
  :: k == 0 -> j++; goto walk
#ifndef BARRIER_ANYWHERE
  :: k == PENDING && j != h -> goto sleepOnHead
#endif
  :: else
  fi;
  atomic {
    if
    :: claimTicket[SLOT(j)] == j && left[SLOT(j)] == k ->
       if
       :: k == PENDING -> left[SLOT(j)] = 0; barrierPassed = true
       :: else -> left[SLOT(j)] = k - 1; k = TASKS - k
       fi
    :: else -> goto walk   /* somebody was faster: read again */
    fi
  }
  if
  :: k == PENDING ->
     assert(head == j);
     CheckRan(j);
     Complete(SLOT(j));
     goto pass
  :: else
  fi;
#endif
#ifdef BARRIER
  assert(j < 1 || barrierPassed);
#endif
  d_step {
    ran[j * TASKS + k]++;
    assert(ran[j * TASKS + k] == 1)
  }
  atomic {
    doneTasks[SLOT(j)]++;
    k = doneTasks[SLOT(j)]
  }
  if
  :: k == TASKS -> Complete(SLOT(j))
  :: else
  fi;
  goto pass;
unfilled:
#ifdef UNFILLED_SLEEPS_ON_HEAD
  goto sleepOnHead;
#endif
sleepOnWake:
  (wake != seen);
  goto pass;
sleepOnHead:
  if
  :: wake != seen -> goto pass
  :: else
  fi;
  (head != h || over);
  goto pass;
leave:
  skip
}

init {
  atomic {
    byte i = 0;
    do
    :: i < SLOTS -> claimTicket[i] = NONE; ticket[i] = NONE; i++
    :: else -> break
    od;
    run Producer();
    i = 0;
    do
    :: i < WORKERS -> run Worker(i); i++
    :: else -> break
    od
  }
}
