package velmor.kavril;

/**
 * The criteria by which primary paths are compared. The score of a path is the sum over its links of
 * what the LSP adds to each criterion, times the criterion's weight; the path of the lowest score
 * wins. All but {@link #FORTZ} look at the load of class 0 only.
 */
public enum Weight {
    /** How unevenly the links are utilised. */
    LOAD_BALANCE,

    /** The load: with this alone, paths with fewer links win. */
    LOAD,

    /** The square of the load. */
    SQUARED_LOAD,

    /** The load relative to the capacity. */
    RELATIVE_LOAD,

    /** The square of the load relative to the capacity. */
    SQUARED_RELATIVE_LOAD,

    /** The queueing delay. */
    DELAY,

    /** A congestion cost after Fortz and Thorup, which grows steeply as a link fills; all classes. */
    FORTZ
}
