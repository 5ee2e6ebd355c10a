// Checks bills of materials with the SPDX project's own library, which Debian 13 has as
// golang-github-spdx-tools-golang-dev: the form of SPDX 2.3, and whether every relationship names an element that exists.
//
// usage: GO111MODULE=off GOPATH=/usr/share/gocode go run packaging/sbom-check.go FILE.spdx.json...
package main

import (
	"fmt"
	"os"

	"github.com/spdx/tools-golang/json"
	"github.com/spdx/tools-golang/spdxlib"
)

func check(name string) error {
	file, err := os.Open(name)
	if err != nil {
		return err
	}
	defer file.Close()
	document, err := json.Read(file)
	if err != nil {
		return err
	}
	if len(document.Packages) == 0 || len(document.Files) == 0 || len(document.Relationships) == 0 {
		return fmt.Errorf("packages, files or relationships are missing")
	}
	if err := spdxlib.ValidateDocument(document); err != nil {
		return err
	}
	fmt.Printf("%s: valid, %d packages, %d files, %d relationships\n", name, len(document.Packages),
		len(document.Files), len(document.Relationships))
	return nil
}

func main() {
	status := 0
	for _, name := range os.Args[1:] {
		if err := check(name); err != nil {
			fmt.Fprintf(os.Stderr, "%s: %v\n", name, err)
			status = 1
		}
	}
	os.Exit(status)
}
