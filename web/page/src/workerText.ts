// The program of the worker; bundle.mjs puts it here.
export const workerText: string = "";
