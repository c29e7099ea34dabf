package velmor.kavril;

import java.util.Comparator;

/** Which requests of many come first. */
public enum BatchOrder {
    /** As they are given. */
    AS_GIVEN(null),

    /** The larger bandwidth first: what is small fits in between. */
    LARGEST_FIRST(Comparator.comparing(Request::traffic, Importance.LARGEST)),

    /** The smaller level first, and at the same level the larger bandwidth. */
    MOST_IMPORTANT_FIRST(Comparator.comparing(Request::traffic, Importance.ORDER));

    private final Comparator<Request> order;

    BatchOrder(Comparator<Request> order) {
        this.order = order;
    }

    /** Null if they stay as they are. Equal ones stay in their order. */
    Comparator<Request> order() {
        return order;
    }
}
