package velmor.kavril;

import java.lang.ref.Cleaner;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.TimeUnit;
import java.util.function.BooleanSupplier;

/**
 * Sessions that nobody has any more and nobody has closed. The garbage collector finds them when memory
 * is short; sessions may be short long before that.
 */
final class Forgotten {
    private static final Cleaner CLEANER = Cleaner.create();
    private static final int NB_COLLECTIONS = 2;
    private static final int MAX_COLLECTION_MILLIS = 1000;
    private static final int MAX_CLOSING_MILLIS = 50;

    private Forgotten() {
    }

    /** Has the session closed when nobody has its owner any more, or at once by the result. */
    static Cleaner.Cleanable closeWith(Object owner, NativeSession session) {
        return CLEANER.register(owner, session);
    }

    /**
     * Has garbage collected and what is found closed, until the attempt succeeds. It is made often, as
     * nobody tells when the last one of those that were found is closed.
     *
     * @return whether it has succeeded
     */
    static boolean makeRoom(BooleanSupplier attempt) {
        try {
            for (int i = 0; i < NB_COLLECTIONS; i++) {
                CountDownLatch collected = new CountDownLatch(1);
                CLEANER.register(new Object(), collected::countDown);
                System.gc();
                collected.await(MAX_COLLECTION_MILLIS, TimeUnit.MILLISECONDS);
                for (int waited = 0; waited <= MAX_CLOSING_MILLIS; waited++) {
                    if (attempt.getAsBoolean()) {
                        return true;
                    }
                    Thread.sleep(1);
                }
            }
        } catch (InterruptedException e) {
            Thread.currentThread().interrupt();
        }
        return false;
    }
}
