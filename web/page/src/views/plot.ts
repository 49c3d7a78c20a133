// Sizes of the access units over time, key frames marked. Zooms, moves, and shows the access unit at the pointer.

import uPlot from "uplot";
import type { Model } from "../model/model.js";
import { SizeHistory } from "../model/sizeBins.js";
import { TimeAxis } from "../model/timeAxis.js";
import { byId, bytes, count } from "./dom.js";
import { sliceTypeName } from "./unitKind.js";

const widestBar = 80; // pixels
const leastVisible = 10; // access units
const zoomStep = 1.6;

export class PlotView {
    readonly #host = byId("plot");
    readonly #legend = byId("plot-legend");
    #plot: uPlot | null = null;
    #history: SizeHistory;
    #begin = 0; // of the access units in view
    #end = 0;
    #followsEnd = true; // while the file is read
    #pointed = -1;

    constructor(private readonly model: Model) {
        this.#history = new SizeHistory(model.accessUnits);
        model.on(["phase"], () => this.#restart());
        model.on(["records"], () => this.#update());
        model.on(["selection"], () => this.#showSelection());
        new ResizeObserver(() => this.#resize()).observe(this.#host);
        matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => this.rebuild());
        this.#host.addEventListener("keydown", (event) => this.#keyPressed(event));
        this.#host.addEventListener("wheel", (event) => this.#wheeled(event), { passive: false });
        byId("zoom-in").addEventListener("click", () => this.#zoom(1 / zoomStep));
        byId("zoom-out").addEventListener("click", () => this.#zoom(zoomStep));
        byId("zoom-all").addEventListener("click", () => this.#showAll());
    }

    /** Colours may have changed. */
    rebuild(): void {
        this.#plot?.destroy();
        this.#plot = null;
        this.#draw();
    }

    get #total(): number {
        return this.model.accessUnits.count;
    }

    #restart(): void {
        if (this.model.phase === "opening") {
            this.#history = new SizeHistory(this.model.accessUnits);
            this.#begin = 0;
            this.#end = 0;
            this.#followsEnd = true;
            this.#pointed = -1;
            this.#plot?.destroy();
            this.#plot = null;
        }
        this.#draw();
    }

    #update(): void {
        if (this.#followsEnd) this.#end = this.#total;
        this.#draw();
    }

    #draw(): void {
        if (this.#host.clientWidth === 0 || this.#total === 0) return;
        this.#plot ??= new uPlot(this.#options(), [[], [], []], this.#host);
        const bins = this.#history.bins(this.#begin, this.#end, this.#host.clientWidth);
        this.#plot.setData([bins.first, bins.largest, bins.largestKey], false);
        this.#plot.setScale("x", { min: this.#begin, max: Math.max(this.#end, this.#begin + 1) });
        this.#describe();
    }

    #resize(): void {
        this.#plot?.setSize({ width: this.#host.clientWidth, height: this.#height });
        this.#draw();
    }

    get #height(): number {
        return Math.max(this.#host.clientHeight, 140);
    }

    #options(): uPlot.Options {
        const colour = (name: string): string => getComputedStyle(this.#host).getPropertyValue(name).trim();
        const axis = {
            stroke: colour("--text-soft"),
            grid: { stroke: colour("--line"), width: 1 },
            ticks: { stroke: colour("--line"), width: 1 },
            font: "12px system-ui, sans-serif",
        };
        const series = (label: string): uPlot.Series => ({ label, paths: () => null, points: { show: false } });
        const colours = ["", colour("--plot-slice"), colour("--plot-key")];
        return {
            width: this.#host.clientWidth,
            height: this.#height,
            legend: { show: false },
            padding: [8, 18, 0, 0],
            scales: { x: { time: false }, y: { range: (_, __, largest) => [0, (largest ?? 1) * 1.05] } },
            axes: [
                {
                    ...axis,
                    splits: () => this.#axis.ticks(this.#begin, this.#end, this.#host.clientWidth / 90),
                    values: (_, splits) => splits.map((split) => this.#axis.label(split)),
                },
                { ...axis, values: (_, splits) => splits.map((split) => bytes(split)), size: 64 },
            ],
            series: [{}, series("other"), series("key")],
            cursor: { y: false, points: { show: false }, drag: { x: true, y: false, setScale: false } },
            hooks: {
                drawSeries: [(plot, index) => this.#drawBars(plot, index, colours[index]!)],
                drawAxes: [(plot) => this.#drawSelection(plot, colour("--accent"))], // the bars cover it
                setCursor: [(plot) => this.#point(plot)],
                setSelect: [(plot) => this.#selectRange(plot)],
                ready: [(plot) => this.#listen(plot)],
            },
        };
    }

    #listen(plot: uPlot): void {
        let downAt = 0;
        plot.over.addEventListener(
            "mousedown",
            (event) => {
                downAt = event.clientX;
                if (event.shiftKey || event.button === 1) this.#drag(plot, event);
            },
            { capture: true },
        );
        plot.over.addEventListener("click", (event) => {
            if (Math.abs(event.clientX - downAt) < 4) this.model.selectAccessUnit(this.#pointed);
        });
        plot.over.addEventListener("dblclick", () => this.#showAll());
    }

    // Moves the plot while the button is down.
    #drag(plot: uPlot, down: MouseEvent): void {
        down.stopImmediatePropagation();
        down.preventDefault();
        const [begin, end] = [this.#begin, this.#end];
        const move = (event: MouseEvent): void => {
            const shift = ((down.clientX - event.clientX) / plot.over.clientWidth) * (end - begin);
            this.#show(begin + shift, end + shift);
        };
        const stop = (): void => {
            window.removeEventListener("mousemove", move);
            window.removeEventListener("mouseup", stop);
        };
        window.addEventListener("mousemove", move);
        window.addEventListener("mouseup", stop);
    }

    #selectRange(plot: uPlot): void {
        const { left, width } = plot.select;
        plot.setSelect({ left: 0, top: 0, width: 0, height: 0 }, false);
        if (width > 4) this.#show(plot.posToVal(left, "x"), plot.posToVal(left + width, "x"));
    }

    #wheeled(event: WheelEvent): void {
        if (this.#plot === null) return;
        event.preventDefault();
        const range = this.#end - this.#begin;
        const isSideways = event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY);
        if (isSideways) {
            const shift = ((event.deltaX || event.deltaY) / this.#host.clientWidth) * range;
            return this.#show(this.#begin + shift, this.#end + shift);
        }
        const { left } = this.#plot.over.getBoundingClientRect();
        const place = this.#plot.posToVal(event.clientX - left, "x");
        this.#zoom(event.deltaY > 0 ? zoomStep : 1 / zoomStep, place);
    }

    #keyPressed(event: KeyboardEvent): void {
        const { model } = this;
        const selected = Math.max(model.selectedAccessUnit, 0);
        const range = this.#end - this.#begin;
        const actions: Record<string, () => void> = {
            ArrowRight: () => model.selectAccessUnit(selected + 1),
            ArrowLeft: () => model.selectAccessUnit(selected - 1),
            Home: () => model.selectAccessUnit(0),
            End: () => model.selectAccessUnit(this.#total - 1),
            PageUp: () => this.#show(this.#begin - range / 2, this.#end - range / 2),
            PageDown: () => this.#show(this.#begin + range / 2, this.#end + range / 2),
            "+": () => this.#zoom(1 / zoomStep, selected),
            "=": () => this.#zoom(1 / zoomStep, selected),
            "-": () => this.#zoom(zoomStep, selected),
            "0": () => this.#showAll(),
        };
        const action = event.ctrlKey || event.altKey || event.metaKey ? undefined : actions[event.key];
        if (action === undefined) return;
        event.preventDefault();
        action();
    }

    #zoom(factor: number, place = (this.#begin + this.#end) / 2): void {
        this.#show(place - (place - this.#begin) * factor, place + (this.#end - place) * factor);
    }

    #showAll(): void {
        this.#show(0, this.#total);
    }

    #show(begin: number, end: number): void {
        const range = Math.min(Math.max(end - begin, Math.min(leastVisible, this.#total)), this.#total);
        this.#begin = Math.min(Math.max((begin + end - range) / 2, 0), this.#total - range);
        this.#end = this.#begin + range;
        this.#followsEnd = range === this.#total;
        this.#draw();
    }

    #showSelection(): void {
        const selected = this.model.selectedAccessUnit;
        const range = this.#end - this.#begin;
        if (selected >= 0 && (selected < this.#begin || selected >= this.#end))
            this.#show(selected - range / 2, selected + range / 2);
        else this.#plot?.redraw(false);
        this.#describe();
    }

    // One by one: a path of all bars takes the browser a hundred times as long.
    #drawBars(plot: uPlot, index: number, colour: string): void {
        const { ctx, bbox } = plot;
        const [first, ...sizes] = plot.data;
        const place = (value: number): number => plot.valToPos(value, "x", true);
        const begin = first[0] ?? 0;
        const column = place(first[1] ?? begin + 1) - place(begin);
        const width = Math.min(Math.max(0.9 * column, 1), widestBar * devicePixelRatio);
        const bottom = plot.valToPos(0, "y", true);
        ctx.save();
        ctx.beginPath();
        ctx.rect(bbox.left, bbox.top, bbox.width, bbox.height);
        ctx.clip();
        ctx.fillStyle = colour;
        sizes[index - 1]!.forEach((size, at) => {
            if (size === null || size === undefined) return;
            const top = plot.valToPos(size, "y", true);
            ctx.fillRect(place(first[at]!), top, width, bottom - top);
        });
        ctx.restore();
    }

    #drawSelection(plot: uPlot, colour: string): void {
        const selected = this.model.selectedAccessUnit;
        if (selected < 0) return;
        const { ctx, bbox } = plot;
        const left = Math.max(plot.valToPos(selected, "x", true), bbox.left);
        const right = Math.min(Math.max(plot.valToPos(selected + 1, "x", true), left + 2), bbox.left + bbox.width);
        if (right <= left) return;
        ctx.save();
        ctx.fillStyle = colour;
        ctx.fillRect(left, bbox.top, right - left, 3);
        ctx.globalAlpha = 0.25;
        ctx.fillRect(left, bbox.top, right - left, bbox.height);
        ctx.restore();
    }

    #point(plot: uPlot): void {
        const { left } = plot.cursor;
        const place = left === undefined || left < 0 ? -1 : Math.floor(plot.posToVal(left, "x"));
        this.#pointed = place < this.#total ? this.#nearby(place) : -1;
        this.#describe();
    }

    // If a pixel covers several access units, the largest of them.
    #nearby(place: number): number {
        const { accessUnits } = this.model;
        const perPixel = (this.#end - this.#begin) / Math.max(this.#host.clientWidth, 1);
        let best = place;
        for (let index = place; index < Math.min(place + perPixel, this.#total); ++index)
            if (index >= 0 && accessUnits.size(index) > accessUnits.size(Math.max(best, 0))) best = index;
        return best;
    }

    #describe(): void {
        const { accessUnits } = this.model;
        const index = this.#pointed >= 0 ? this.#pointed : this.model.selectedAccessUnit;
        if (index < 0 || index >= this.#total) {
            this.#legend.textContent = "Point at a bar, or select one with the arrow keys.";
            return;
        }
        const type = sliceTypeName(accessUnits.sliceType(index));
        const parts = [
            `Access unit ${count(index)}`,
            this.#axis.isTimed ? `at ${accessUnits.seconds(index).toFixed(3)} s` : "",
            `${count(accessUnits.size(index))} bytes`,
            accessUnits.isKeyFrame(index) ? "key frame" : type === "" ? "" : `${type} slice first`,
            accessUnits.isField(index) ? "field" : "",
        ];
        this.#legend.textContent = parts.filter((part) => part !== "").join(" · ");
    }

    get #axis(): TimeAxis {
        return new TimeAxis(this.#total, this.#total === 0 ? 0 : this.model.accessUnits.seconds(this.#total - 1));
    }
}
