package loading;

import java.io.File;
import java.net.URL;
import java.net.URLClassLoader;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.CountDownLatch;
import velmor.kavril.Session;
import velmor.kavril.internal.NativeLibrary;
import velmor.repository.KAVRIL.JNIKAVRIL;

/** Loads the library in a JVM of its own, by the words of the command line, and tells what came of it. */
public final class Probe implements Runnable {

    /** What one of several class loaders runs. */
    public Probe() {
        super();
    }

    /**
     * Does what the words say, one after the other.
     *
     * @param words safe or raw to open a session; loaders or threads to do so in several at once
     */
    public static void main(String[] words) throws Exception {
        for (String word : words) {
            if (word.equals("loaders")) {
                inLoaders(3);
            } else if (word.equals("threads")) {
                inThreads(8);
            } else {
                open(word.equals("raw"));
            }
        }
    }

    private static void open(boolean raw) {
        try {
            if (raw) {
                JNIKAVRIL kavril = new JNIKAVRIL();
                kavril.jniinitKavril(1, 1, false, false, true, 0, 0, 0, 0, 0, 0, 1, new float[1][1]);
                System.out.println("session " + kavril.sessId);
                kavril.jnikillKavril();
            } else {
                try (Session session = Session.builder().build()) {
                    session.addNode(3);
                    System.out.println("node " + session.dump().contains("Node id : 3"));
                }
            }
        } catch (UnsatisfiedLinkError e) {
            System.out.println(e.getMessage());
        }
    }

    /** Several threads open the first sessions at once. */
    private static void inThreads(int nbThreads) throws InterruptedException {
        CountDownLatch start = new CountDownLatch(nbThreads);
        List<Thread> threads = new ArrayList<>();
        for (int i = 0; i < nbThreads; i++) {
            threads.add(new Thread(() -> {
                start.countDown();
                try {
                    start.await();
                } catch (InterruptedException e) {
                    throw new IllegalStateException(e);
                }
                open(false);
            }));
        }
        for (Thread thread : threads) {
            thread.start();
        }
        for (Thread thread : threads) {
            thread.join();
        }
    }

    /** Several class loaders hold the library at the same time, all filling it at once. */
    private static void inLoaders(int nbLoaders) throws Exception {
        List<Thread> threads = new ArrayList<>();
        List<Object> probes = new ArrayList<>();
        List<URL> urls = new ArrayList<>();
        for (String entry : System.getProperty("java.class.path").split(File.pathSeparator)) {
            urls.add(new File(entry).toURI().toURL());
        }
        for (int i = 0; i < nbLoaders; i++) {
            @SuppressWarnings("resource")
            ClassLoader loader = new URLClassLoader(urls.toArray(new URL[0]),
                    ClassLoader.getPlatformClassLoader());
            Object probe = loader.loadClass(Probe.class.getName()).getConstructor().newInstance();
            probes.add(probe);
            threads.add(new Thread((Runnable) probe));
        }
        for (Thread thread : threads) {
            thread.start();
        }
        for (Thread thread : threads) {
            thread.join();
        }
        System.out.println(probes.size() + " loaders");
    }

    /** What one class loader does: its session is the first of its own copy of the library. */
    @Override
    public void run() {
        JNIKAVRIL kavril = new JNIKAVRIL();
        kavril.jniinitKavril(1, 1, false, false, true, 0, 0, 0, 0, 0, 0, 1, new float[1][1]);
        System.out.println("session " + kavril.sessId + " from "
                + new File(NativeLibrary.origin()).getName().replaceFirst("-[0-9a-f]{32}-", "-HASH-"));
    }
}
