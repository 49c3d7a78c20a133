// The places of access units as times, if the stream has a frame rate; else as numbers.

const ofClock = [15, 30, 60, 120, 300, 600, 900, 1800, 3600]; // seconds

export class TimeAxis {
    readonly isTimed: boolean;
    readonly #secondsPerUnit: number;

    /** `lastSeconds` is the time of the last access unit. */
    constructor(accessUnits: number, lastSeconds: number) {
        this.isTimed = accessUnits > 1 && lastSeconds > 0;
        this.#secondsPerUnit = this.isTimed ? lastSeconds / (accessUnits - 1) : 1;
    }

    /** Round places between two access units, about `most` of them. */
    ticks(begin: number, end: number, most: number): number[] {
        const scale = this.#secondsPerUnit;
        const step = this.#roundStep(((end - begin) * scale) / Math.max(Math.floor(most), 2));
        const ticks: number[] = [];
        for (let tick = Math.ceil((begin * scale) / step); tick * step <= end * scale; ++tick)
            ticks.push((tick * step) / scale);
        return ticks;
    }

    label(place: number): string {
        if (!this.isTimed) return Math.round(place).toLocaleString("en");
        const milliseconds = Math.round(place * this.#secondsPerUnit * 1000);
        if (milliseconds < 60000) return `${milliseconds / 1000} s`;
        const rest = String((milliseconds % 60000) / 1000);
        return `${Math.floor(milliseconds / 60000)}:${/^\d(\D|$)/.test(rest) ? "0" : ""}${rest}`;
    }

    // The next of 1, 2, 5, 10, …; above a few seconds, of what clocks have.
    #roundStep(least: number): number {
        const power = 10 ** Math.floor(Math.log10(least));
        const step = [1, 2, 5, 10].map((factor) => factor * power).find((candidate) => candidate >= least)!;
        if (!this.isTimed) return Math.max(step, 1);
        return step > 10 ? (ofClock.find((candidate) => candidate >= least) ?? step) : step;
    }
}
