// A host in Go without cgo: counts the lines, words and bytes of a text file, and records that it did so. It
// also runs where Vantra.dll is missing.
package main

import (
	"bytes"
	"fmt"
	"os"
	"path/filepath"
	"strconv"
	"syscall"
	"unsafe"
)

var (
	library      = syscall.NewLazyDLL(beside("Vantra.dll"))
	initialize   = library.NewProc("UTInitialize")
	getOptIn     = library.NewProc("UTGetOptIn")
	setOptIn     = library.NewProc("UTSetOptIn")
	startSession = library.NewProc("UTStartSession")
	logEvent     = library.NewProc("UTLogEvent")
	newDataGroup = library.NewProc("UTNewDataGroup")
	addToGroup   = library.NewProc("UTAddToGroup")
	closeSession = library.NewProc("UTCloseSession")
)

// A full path: a bare name would also be looked for in folders that others can write to.
func beside(name string) string {
	program, _ := os.Executable()
	return filepath.Join(filepath.Dir(program), name)
}

// NUL-terminated UTF-8, or NULL for a text with a NUL inside. Convert it to uintptr within the argument list
// of Call: only there is it kept alive.
func text(s string) unsafe.Pointer {
	bytes, _ := syscall.BytePtrFromString(s)
	return unsafe.Pointer(bytes)
}

// Asks a user who has not answered yet. Vantra stores the answer. Results are int32 values in a wider word.
func askForConsent() {
	if choice, _, _ := getOptIn.Call(); int32(choice) != -1 {
		return
	}
	fmt.Print("May Words record how it is used? (y/n) ")
	var answer string
	fmt.Scanln(&answer)
	if answer == "y" {
		setOptIn.Call(1)
	} else if answer != "" {
		setOptIn.Call(0)
	}
}

// Only a digest of the path is recorded. Without consent there is no session, and calls without one do
// nothing.
func record(path string, event string, counts map[string]int) {
	var session uintptr
	var group uint32
	length := uintptr(len(path))
	startSession.Call(uintptr(unsafe.Pointer(&session)), uintptr(text("Acme")), uintptr(text("Words")),
		uintptr(text("1.0")), uintptr(text("1")), uintptr(text("en-US")))
	logEvent.Call(session, uintptr(text("File")), uintptr(text("Text")), uintptr(text(event)), uintptr(text(path)), length)
	if counts != nil {
		newDataGroup.Call(session, uintptr(text("File")), uintptr(text("Text")), uintptr(text("Counts")),
			uintptr(unsafe.Pointer(&group)), uintptr(text(path)), length)
	}
	for name, count := range counts {
		addToGroup.Call(session, uintptr(group), uintptr(text(name)), uintptr(text(strconv.Itoa(count))))
	}
	closeSession.Call(uintptr(unsafe.Pointer(&session)))
}

func main() {
	if len(os.Args) != 2 {
		fmt.Fprintln(os.Stderr, "usage: words FILE")
		os.Exit(2)
	}
	path, isPresent := os.Args[1], library.Load() == nil
	if isPresent {
		initialize.Call(uintptr(text("AcmeWords")), 0, 0) // no crash handling: Go turns faults into panics
		askForConsent()
	}
	content, err := os.ReadFile(path)
	counts := map[string]int{
		"Lines": bytes.Count(content, []byte("\n")),
		"Words": len(bytes.Fields(content)),
		"Bytes": len(content),
	}
	event := "Count"
	if err != nil {
		event, counts = "OpenFailed", nil
	}
	if isPresent {
		record(path, event, counts)
	}
	if err != nil {
		fmt.Fprintln(os.Stderr, "words:", err)
		os.Exit(1)
	}
	fmt.Println(counts["Lines"], counts["Words"], counts["Bytes"])
}
